// The library's entry: COM is initialised for the process while the library is attached to it.
#include "platform/Com.h"
#include "platform/Kernel.h"

// winbase.h DllMain. Only S_OK of CoInitializeEx is success: a process whose COM is initialised already cannot load the
// library.
extern "C" ce::BOOL DllMain(ce::HANDLE /*instance*/, ce::DWORD reason, void* /*reserved*/) {
  switch (reason) {
    case ce::DLL_PROCESS_ATTACH:
      return ce::CoInitializeEx(nullptr, ce::COINIT_MULTITHREADED) == ce::S_OK;
    case ce::DLL_PROCESS_DETACH:
      ce::CoUninitialize();
      return 1;
    case ce::DLL_THREAD_ATTACH:
    case ce::DLL_THREAD_DETACH:
      return 1;
    default:
      return 0;
  }
}
