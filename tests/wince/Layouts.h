// What this compiler makes of the phone's records: one row of numbers in the order of Layouts.def.
#pragma once

#include <cstddef>
#include <cstdint>

#include "platform/Bluetooth.h"
#include "platform/CallLog.h"
#include "platform/Files.h"
#include "platform/Item.h"
#include "platform/Kernel.h"
#include "platform/MapiProperties.h"
#include "platform/Sms.h"
#include "platform/Tapi.h"
#include "platform/Winsock.h"

namespace test {

inline constexpr std::uint32_t kLayouts[] = {
#define CE_RECORD(type, size, alignment) sizeof(ce::type), alignof(ce::type),
#if UINTPTR_MAX == UINT32_MAX
#define CE_RECORD_32 CE_RECORD
#else
#define CE_RECORD_32(type, size, alignment) size, alignment,
#endif
#define CE_MEMBER(type, member, offset) offsetof(ce::type, member),
#if UINTPTR_MAX == UINT32_MAX
#define CE_MEMBER_32 CE_MEMBER
#else
#define CE_MEMBER_32(type, member, offset) offset,
#endif
#include "tests/wince/Layouts.def"
#undef CE_RECORD
#undef CE_RECORD_32
#undef CE_MEMBER
#undef CE_MEMBER_32
};

// Operands of divisions, small and large, in any order.
struct Operands {
  std::uint64_t state = 0x9E3779B97F4A7C15;
  std::uint64_t Next() {
    state ^= state << 13;
    state ^= state >> 7;
    state ^= state << 17;
    return state >> (state & 63);
  }
};
inline constexpr int kDivisions = 2000;

// The results of one pair of operands, in the order in which they are compared.
template <class Give>
void Divide(std::uint64_t left, std::uint64_t right, Give give) {
  const auto wide = static_cast<std::int64_t>(right != 0 ? right : 1);
  const auto narrow = static_cast<std::uint32_t>(right) != 0 ? static_cast<std::int32_t>(right) : 1;
  give(left / static_cast<std::uint64_t>(wide));
  give(left % static_cast<std::uint64_t>(wide));
  give(static_cast<std::uint64_t>(-static_cast<std::int64_t>(left >> 1) / wide));
  give(static_cast<std::uint64_t>(-static_cast<std::int64_t>(left >> 1) % wide));
  give(static_cast<std::uint32_t>(left) / static_cast<std::uint32_t>(narrow));
  give(static_cast<std::uint32_t>(left) % static_cast<std::uint32_t>(narrow));
  give(static_cast<std::uint32_t>(-static_cast<std::int32_t>(left >> 33) / narrow));
  give(static_cast<std::uint32_t>(-static_cast<std::int32_t>(left >> 33) % narrow));
}

}  // namespace test
