// How many bytes this process has allocated and not freed, also under a sanitizer.
#pragma once

#include <cstddef>
#include <malloc.h>

extern "C" size_t __sanitizer_get_current_allocated_bytes() __attribute__((weak));

namespace brelix::test {

inline size_t HeldBytes() {
  if (__sanitizer_get_current_allocated_bytes) return __sanitizer_get_current_allocated_bytes();
  const struct mallinfo2 now = mallinfo2();
  return now.uordblks + now.hblkhd;
}

}  // namespace brelix::test
