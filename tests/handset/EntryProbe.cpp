// A small library with the two things the loader and the heap must get right: a hidden entry, and operator new.
#include <new>

#include "platform/Kernel.h"

namespace {

ce::DWORD* g_reasons = nullptr;  // where an exported call told us to write what the entry is called with

}  // namespace

extern "C" {

// Refuses to attach on a thread whose last memory query said that memory is full.
ce::INT DllMain(ce::HANDLE, ce::DWORD reason, void*) {
  if (reason != ce::DLL_PROCESS_ATTACH) {
    if (g_reasons != nullptr) *g_reasons = reason + 100;
    return 1;
  }
  ce::MEMORYSTATUS status;
  ce::GlobalMemoryStatus(&status);
  return status.dwMemoryLoad < 100 ? 1 : 0;
}

__attribute__((visibility("default"))) void ProbeWatch(ce::DWORD* reasons) { g_reasons = reasons; }

__attribute__((visibility("default"))) int* ProbeNew() { return new (std::nothrow) int(7); }

__attribute__((visibility("default"))) void ProbeDelete(int* block) { delete block; }
}
