// coredll: the heap of the process, from which the phone's libraries hand out blocks.
#pragma once

#include "platform/Types.h"

namespace ce {

// No handle when there is none.
HANDLE GetProcessHeap() CE_SYMBOL("GetProcessHeap");
BOOL HeapFree(HANDLE heap, DWORD flags, void* block) CE_SYMBOL("HeapFree");

}  // namespace ce
