// Whether a file is what a phone's loader takes and what this system ships.
#pragma once

#include <set>
#include <string>
#include <vector>

#include "wince/pe/PeFile.h"

namespace pe {

enum class Kind { kLibrary, kProgram };

// What keeps the file from being loaded on a phone: machine, kind, subsystem, alignment, relocations, sections. A line
// each.
std::vector<std::string> CheckLoadable(const PeFile& file, Kind kind);

// Imports that are not in the tables, beside those of the given libraries.
std::vector<std::string> CheckImports(const PeFile& file, const std::set<std::string>& otherLibraries = {});

// The readable names in an export map such as agent/exports.map. Throws std::runtime_error when there are none.
std::set<std::string> ReadExportMap(const std::filesystem::path& map);

// What is exported and not wanted, or wanted and not exported.
std::vector<std::string> CheckExports(const PeFile& file, const std::set<std::string>& wanted);

// An exported name as the map writes it: readable, its 32-bit integers called int.
std::string ReadableName(const std::string& exported);

}  // namespace pe
