#include "handset/LibraryLoader.h"

#include <cstring>
#include <dlfcn.h>
#include <elf.h>
#include <link.h>

#include "handset/Errors.h"
#include "platform/Kernel.h"

namespace handset {

namespace {

using Entry = ce::INT (*)(ce::HANDLE instance, ce::DWORD reason, void* reserved);

struct Search {
  ElfW(Addr) base;
  const ElfW(Ehdr) * header;
};

// The file's header stands at the start of the segment that maps the start of the file.
int FindHeader(dl_phdr_info* info, std::size_t, void* data) {
  auto* search = static_cast<Search*>(data);
  if (info->dlpi_addr != search->base) return 0;
  for (int i = 0; i < info->dlpi_phnum; ++i) {
    const ElfW(Phdr)& segment = info->dlpi_phdr[i];
    if (segment.p_type != PT_LOAD || segment.p_offset != 0 || segment.p_filesz < sizeof(ElfW(Ehdr))) continue;
    search->header = reinterpret_cast<const ElfW(Ehdr)*>(info->dlpi_addr + segment.p_vaddr);
    return 1;
  }
  return 0;
}

void* FindEntry(void* library) {
  link_map* map = nullptr;
  if (dlinfo(library, RTLD_DI_LINKMAP, &map) != 0) return nullptr;
  Search search{map->l_addr, nullptr};
  dl_iterate_phdr(FindHeader, &search);
  if (search.header == nullptr || std::memcmp(search.header->e_ident, ELFMAG, SELFMAG) != 0) return nullptr;
  if (search.header->e_entry == 0) return nullptr;
  return reinterpret_cast<void*>(map->l_addr + search.header->e_entry);
}

ce::INT RunEntry(void* entry, void* library, ce::DWORD reason) {
  return reinterpret_cast<Entry>(entry)(ce::HANDLE{reinterpret_cast<std::uintptr_t>(library)}, reason, nullptr);
}

}  // namespace

LoadedLibrary::LoadedLibrary(const std::filesystem::path& file, From from)
    : m_library(dlopen(file.c_str(), RTLD_NOW | RTLD_LOCAL | (from == From::kProcess ? RTLD_NOLOAD : 0))) {
  if (m_library == nullptr) {
    const char* reason = dlerror();
    throw LoadError(reason != nullptr ? reason : file.string() + ": not loaded in this program");
  }
  m_entry = FindEntry(m_library);
  const bool attached = m_entry != nullptr && RunEntry(m_entry, m_library, ce::DLL_PROCESS_ATTACH) != 0;
  if (attached) return;
  dlclose(m_library);
  throw LoadError(file.string() + (m_entry == nullptr ? ": its header names no library entry"
                                                      : ": its library entry refused to attach"));
}

LoadedLibrary::~LoadedLibrary() {
  RunEntry(m_entry, m_library, ce::DLL_PROCESS_DETACH);
  dlclose(m_library);
}

void* LoadedLibrary::GetProcAddress(const char* name) const { return dlsym(m_library, name); }

}  // namespace handset
