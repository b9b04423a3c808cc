#include "wince/pe/CheckImage.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <cxxabi.h>
#include <fstream>
#include <memory>
#include <string_view>

#include "wince/pe/ImportTables.h"

namespace pe {

namespace {

template <class... Values>
std::string Format(const char* format, Values... values) {
  std::array<char, 256> text{};
  std::snprintf(text.data(), text.size(), format, values...);
  return text.data();
}

bool IsWord(char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_'; }

// What a line of an export map names: "a member"; or a_function; alone on it. Empty when it names nothing.
std::string NameIn(std::string_view line) {
  const std::size_t begin = line.find_first_not_of(" \t");
  if (begin == std::string_view::npos || line.back() != ';') return {};
  line = line.substr(begin, line.size() - begin - 1);
  if (line.size() > 2 && line.front() == '"' && line.back() == '"') return std::string(line.substr(1, line.size() - 2));
  return begin > 0 && std::ranges::all_of(line, IsWord) ? std::string(line) : std::string();
}

void CheckHeader(const Header& header, Kind kind, std::vector<std::string>& problems) {
  const auto expect = [&](bool right, const std::string& problem) {
    if (!right) problems.push_back(problem);
  };
  expect(header.machine == kMachineArm,
         Format("header: for machine 0x%X, expected 0x%X (ARM)", header.machine, kMachineArm));
  const bool library = (header.characteristics & kIsDll) != 0;
  expect(library == (kind == Kind::kLibrary),
         library ? "header: a library, expected a program" : "header: a program, expected a library");
  expect(header.subsystem == kSubsystemWindowsCe,
         Format("header: subsystem %u, expected %u (Windows CE)", header.subsystem, kSubsystemWindowsCe));
  expect(header.subsystemMajor == 5 && header.subsystemMinor == 0,
         Format("header: subsystem version %u.%u, expected 5.0", header.subsystemMajor, header.subsystemMinor));
  expect(header.sectionAlignment == kPage,
         Format("header: section alignment 0x%X, expected 0x%X", static_cast<unsigned>(header.sectionAlignment),
                static_cast<unsigned>(kPage)));
  expect((header.characteristics & kRelocationsStripped) == 0, "header: its relocations were taken out");
}

}  // namespace

std::vector<std::string> CheckLoadable(const PeFile& file, Kind kind) {
  std::vector<std::string> problems;
  CheckHeader(file.GetHeader(), kind, problems);
  if (file.GetRelocations().empty()) {
    problems.emplace_back("relocations: none, it could be loaded at one address only");
  }
  bool entryIsCode = false;
  for (const Section& section : file.GetSections()) {
    if (section.writable && section.executable) {
      problems.push_back("section " + section.name + ": both writable and executable");
    }
    if (section.address % kPage != 0) {
      problems.push_back("section " + section.name + ": does not start a page");
    }
    entryIsCode |= section.executable && file.GetHeader().entry - section.address < section.size;
  }
  if (!entryIsCode) {
    problems.push_back(Format("entry 0x%X: no code is there", static_cast<unsigned>(file.GetHeader().entry)));
  }
  return problems;
}

std::vector<std::string> CheckImports(const PeFile& file, const std::set<std::string>& otherLibraries) {
  std::vector<std::string> problems;
  for (const Import& import : file.GetImports()) {
    if (otherLibraries.contains(import.library) || FindImport(import.library, import.name, import.ordinal) != nullptr) {
      continue;
    }
    const std::string what = import.name.empty() ? "ordinal " + std::to_string(import.ordinal) : import.name;
    problems.push_back("import " + import.library + " " + what + ": not in the import tables");
  }
  return problems;
}

std::set<std::string> ReadExportMap(const std::filesystem::path& map) {
  std::ifstream stream(map);
  std::set<std::string> names;
  for (std::string line; std::getline(stream, line);) {
    const std::string name = NameIn(line);
    if (!name.empty()) names.insert(name);
  }
  if (names.empty()) {
    throw std::runtime_error(map.string() + ": no names to export");
  }
  return names;
}

std::string ReadableName(const std::string& exported) {
  int status = 0;
  const std::unique_ptr<char, decltype(&std::free)> text(
      abi::__cxa_demangle(exported.c_str(), nullptr, nullptr, &status), &std::free);
  if (status != 0) return exported;
  std::string name = text.get();
  constexpr std::string_view kLong = "long";
  for (std::size_t at = name.find(kLong); at != std::string::npos; at = name.find(kLong, at + 1)) {
    const bool wholeWord = (at == 0 || !IsWord(name[at - 1])) && !IsWord(name[at + kLong.size()]);
    if (wholeWord) name.replace(at, kLong.size(), "int");
  }
  return name;
}

std::vector<std::string> CheckExports(const PeFile& file, const std::set<std::string>& wanted) {
  std::vector<std::string> problems;
  std::set<std::string> missing = wanted;
  for (const Export& found : file.GetExports()) {
    const std::string name = ReadableName(found.name);
    missing.erase(name);
    if (!wanted.contains(name)) {
      problems.push_back("export " + name + ": not in the list");
    }
  }
  for (const std::string& name : missing) {
    problems.push_back("export " + name + ": missing");
  }
  return problems;
}

}  // namespace pe
