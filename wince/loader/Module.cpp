#include "wince/loader/Module.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <sys/mman.h>

#include "platform/Kernel.h"
#include "wince/loader/Crossing.h"
#include "wince/loader/FaultReport.h"
#include "wince/loader/Functions.h"
#include "wince/pe/ImportTables.h"

namespace crossing {

namespace {

[[noreturn]] void ThrowSystem(const std::string& what) { throw std::runtime_error(what + ": " + std::strerror(errno)); }

std::uint32_t WholePages(std::uint32_t size) { return (size + pe::kPage - 1) / pe::kPage * pe::kPage; }

void* FindBeside(const std::vector<const Module*>& others, const pe::Import& import) {
  for (const Module* other : others) {
    std::string name = other->GetName();
    std::transform(name.begin(), name.end(), name.begin(), [](unsigned char c) { return std::tolower(c); });
    if (name == import.library && !import.name.empty()) return other->FindExport(import.name);
  }
  return nullptr;
}

void* Find(const pe::Import& import) {
  const pe::KnownImport* known = pe::FindImport(import.library, import.name, import.ordinal);
  return known == nullptr ? nullptr : FindFunction(known->library, known->name);
}

}  // namespace

Module::Module(const std::filesystem::path& file, pe::Kind kind, Place place, const std::vector<const Module*>& others)
    : m_name(file.filename().string()), m_file(pe::PeFile::Read(file)) {
  const auto problems = pe::CheckLoadable(m_file, kind);
  if (!problems.empty()) throw pe::PeError(problems.front());
  Map(place);
  Relocate();
  Bind(others);
  Protect();
  AddModule(file, reinterpret_cast<std::uintptr_t>(m_base), m_file.GetHeader().imageSize, m_file.GetHeader().imageBase);
}

// Its memory stays: a thread of the phone may still stand in it.
Module::~Module() {
  if (m_attached) CallEntry(ce::DLL_PROCESS_DETACH);
}

bool Module::Attach() {
  m_attached = CallEntry(ce::DLL_PROCESS_ATTACH);
  return m_attached;
}

std::int32_t Module::Run() {
  char16_t noArguments[] = u"";
  return Call<ce::INT, void*, void*, char16_t*, ce::INT>(At(m_file.GetHeader().entry), m_base, nullptr, noArguments, 1);
}

bool Module::CallEntry(std::uint32_t reason) {
  return Call<ce::BOOL, void*, ce::DWORD, void*>(At(m_file.GetHeader().entry), m_base, reason, nullptr) != 0;
}

void Module::Map(Place place) {
  const pe::Header& header = m_file.GetHeader();
  const bool preferred = place == Place::kPreferred;
  // Elsewhere is where the system likes. The preferred place is taken all the same and closed: a word that was not
  // relocated leads to a fault there.
  void* const wanted = reinterpret_cast<void*>(static_cast<std::uintptr_t>(header.imageBase));
  const int flags = MAP_PRIVATE | MAP_ANONYMOUS;
  void* at = mmap(wanted, header.imageSize, PROT_READ | PROT_WRITE, flags | MAP_FIXED_NOREPLACE, -1, 0);
  if (at == MAP_FAILED && preferred) ThrowSystem(m_name + ": its preferred place is taken");
  if (!preferred) {
    if (at != MAP_FAILED) mprotect(at, header.imageSize, PROT_NONE);
    at = mmap(nullptr, header.imageSize, PROT_READ | PROT_WRITE, flags, -1, 0);
    if (at == MAP_FAILED) ThrowSystem(m_name + ": no memory to map it");
  }
  m_base = static_cast<std::uint8_t*>(at);
  std::ranges::copy(m_file.GetHeaders(), m_base);
  for (const pe::Section& section : m_file.GetSections()) {
    std::ranges::copy(section.data, At(section.address));
  }
}

void Module::Relocate() {
  const auto difference =
      static_cast<std::uint32_t>(reinterpret_cast<std::uintptr_t>(m_base)) - m_file.GetHeader().imageBase;
  for (const std::uint32_t address : m_file.GetRelocations()) {
    std::uint32_t word = 0;
    std::memcpy(&word, At(address), sizeof word);
    word += difference;
    std::memcpy(At(address), &word, sizeof word);
  }
}

void Module::Bind(const std::vector<const Module*>& others) {
  for (const pe::Import& import : m_file.GetImports()) {
    void* function = FindBeside(others, import);
    if (function == nullptr) function = Find(import);
    if (function == nullptr) {
      const std::string what = import.name.empty() ? "ordinal " + std::to_string(import.ordinal) : import.name;
      throw pe::PeError("import " + import.library + " " + what + ": nobody has it");
    }
    std::memcpy(At(import.slot), &function, sizeof function);
  }
}

void Module::Protect() {
  mprotect(m_base, pe::kPage, PROT_READ);
  for (const pe::Section& section : m_file.GetSections()) {
    const int access = PROT_READ | (section.writable ? PROT_WRITE : 0) | (section.executable ? PROT_EXEC : 0);
    if (mprotect(At(section.address), WholePages(section.size), access) != 0) {
      ThrowSystem(m_name + ": section " + section.name);
    }
  }
  __builtin___clear_cache(reinterpret_cast<char*>(m_base),
                          reinterpret_cast<char*>(m_base + m_file.GetHeader().imageSize));
}

void* Module::FindExport(const std::string& name) const {
  for (const pe::Export& found : m_file.GetExports()) {
    if (found.name == name) return At(found.address);
  }
  return nullptr;
}

}  // namespace crossing
