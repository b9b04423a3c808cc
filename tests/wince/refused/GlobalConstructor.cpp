// expect: an object that is constructed or destroyed at run time
#include "platform/Kernel.h"

struct Opened {
  Opened() : when(ce::GetLastError()) {}
  ce::DWORD when;
};
Opened g_opened;
