// expect: has another layout on the phone
#include "platform/Types.h"

// Without being told, this compiler aligns 64-bit members to 4, and a phone to 8.
struct Address {
  std::uint16_t family;
  std::uint64_t number;
};
CE_LAYOUT(Address, 16, 8);
