// Every call of the platform as a number, with its name and the way it reports a failure.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string_view>

namespace handset {

enum class Call : std::uint16_t {
#define CE_CALL(library, name, failure, code) name,
#define CE_METHOD(interface, name, failure, code) interface##_##name,
#include "platform/Calls.def"
#undef CE_CALL
#undef CE_METHOD
};

enum class Reports : std::uint8_t { Result, LastError, SocketError, Null, Never };

struct CallInfo {
  std::string_view name;
  Reports reports;
  std::uint32_t code;  // what it reports when nobody says which
};

inline constexpr auto kCalls = std::to_array<CallInfo>({
#define CE_CALL(library, name, failure, code) {#name, Reports::failure, code},
#define CE_METHOD(interface, name, failure, code) {#interface "::" #name, Reports::failure, code},
#include "platform/Calls.def"
#undef CE_CALL
#undef CE_METHOD
});

constexpr const CallInfo& InfoOf(Call call) { return kCalls[static_cast<std::size_t>(call)]; }

constexpr std::optional<Call> FindCall(std::string_view name) {
  for (std::size_t i = 0; i < kCalls.size(); ++i) {
    if (kCalls[i].name == name) return static_cast<Call>(i);
  }
  return std::nullopt;
}

}  // namespace handset
