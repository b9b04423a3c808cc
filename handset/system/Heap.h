// The phone's memory: blocks that stand in the ledger as long as somebody has them.
#pragma once

#include <cstddef>
#include <memory>

#include "handset/Ledger.h"
#include "platform/Heap.h"

namespace handset {

struct Phone;

// Aligned for everything; null without memory. Without a ledger the block stands nowhere.
void* AllocateBlock(const std::shared_ptr<Ledger>& ledger, Held kind, std::size_t bytes);
// From any thread, also after the phone that gave the block is gone.
void FreeBlock(void* block);

// A block for somebody who gives it back with HeapFree. Null for a heap that is not the process's, and without memory.
void* AllocateOnHeap(Phone& phone, ce::HANDLE heap, std::size_t bytes);

}  // namespace handset
