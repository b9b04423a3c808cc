// expect: a static object with a guard
#include "platform/Kernel.h"

ce::DWORD FirstError() {
  static const ce::DWORD first = ce::GetLastError();
  return first;
}
