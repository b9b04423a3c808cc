// The agent's heap is the phone's: what it allocates stands in the ledger and can be made to fail. Compiled into the
// agent's library; the symbols are hidden, since the programs around it keep their own heap.
#include <new>

#include "platform/Kernel.h"

__asm__(
    ".hidden _ZnwmRKSt9nothrow_t\n.hidden _ZnamRKSt9nothrow_t\n"
    ".hidden _ZdlPv\n.hidden _ZdlPvm\n.hidden _ZdlPvRKSt9nothrow_t\n"
    ".hidden _ZdaPv\n.hidden _ZdaPvm\n.hidden _ZdaPvRKSt9nothrow_t\n");

namespace {

void* Allocate(std::size_t bytes) noexcept {
  if (bytes > 0xFFFFFFFF) return nullptr;
  return ce::LocalAlloc(0, static_cast<ce::DWORD>(bytes));
}

}  // namespace

void* operator new(std::size_t bytes, const std::nothrow_t&) noexcept { return Allocate(bytes); }
void* operator new[](std::size_t bytes, const std::nothrow_t&) noexcept { return Allocate(bytes); }

void operator delete(void* block) noexcept { ce::LocalFree(block); }
void operator delete(void* block, std::size_t) noexcept { ce::LocalFree(block); }
void operator delete(void* block, const std::nothrow_t&) noexcept { ce::LocalFree(block); }
void operator delete[](void* block) noexcept { ce::LocalFree(block); }
void operator delete[](void* block, std::size_t) noexcept { ce::LocalFree(block); }
void operator delete[](void* block, const std::nothrow_t&) noexcept { ce::LocalFree(block); }
