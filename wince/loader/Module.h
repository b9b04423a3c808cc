// A library or program of the phone in this process: mapped, relocated, its imports bound, its sections protected as
// they say.
#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

#include "wince/pe/CheckImage.h"
#include "wince/pe/PeFile.h"

namespace crossing {

enum class Place { kPreferred, kElsewhere };

class Module {
 public:
  // Imports from one of the others are bound to what that exports, all others to the phone. Throws pe::PeError for a
  // file that no phone would take, or that imports what nobody has; std::runtime_error when it cannot be mapped.
  Module(const std::filesystem::path& file, pe::Kind kind, Place place, const std::vector<const Module*>& others = {});
  // Calls the library entry for a detach, when it was attached.
  ~Module();
  Module(const Module&) = delete;
  Module& operator=(const Module&) = delete;

  // A library: calls its entry; false when it refuses.
  bool Attach();
  // A program: runs it, and returns its exit code.
  std::int32_t Run();

  // Null when there is none.
  void* FindExport(const std::string& name) const;
  const std::string& GetName() const { return m_name; }

 private:
  void Map(Place place);
  void Relocate();
  void Bind(const std::vector<const Module*>& others);
  void Protect();
  bool CallEntry(std::uint32_t reason);
  std::uint8_t* At(std::uint32_t address) const { return m_base + address; }

  std::string m_name;
  pe::PeFile m_file;
  std::uint8_t* m_base = nullptr;
  bool m_attached = false;
};

}  // namespace crossing
