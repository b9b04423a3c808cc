// operator new and delete are the phone's own heap. Only the forms that report a failure exist: without exceptions
// there is no other way to tell.
#include <new>

#include "platform/Kernel.h"

namespace std {
const nothrow_t nothrow{};
}

void* operator new(std::size_t bytes, const std::nothrow_t&) noexcept { return ce::LocalAlloc(0, bytes); }
void* operator new[](std::size_t bytes, const std::nothrow_t&) noexcept { return ce::LocalAlloc(0, bytes); }

void operator delete(void* block) noexcept { ce::LocalFree(block); }
void operator delete(void* block, std::size_t) noexcept { ce::LocalFree(block); }
void operator delete[](void* block) noexcept { ce::LocalFree(block); }
void operator delete[](void* block, std::size_t) noexcept { ce::LocalFree(block); }
