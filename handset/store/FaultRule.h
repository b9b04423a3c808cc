// A call of the platform that is to fail.
#pragma once

#include <cstdint>
#include <limits>
#include <optional>
#include <string>

#include "handset/Calls.h"

namespace handset {

struct FaultRule {
  static constexpr std::uint32_t kAlways = std::numeric_limits<std::uint32_t>::max();

  std::string call;                          // "RegOpenKeyExW", "IPOutlookApp::Logon"
  std::optional<std::uint32_t> result = {};  // absent: the call's usual failure
  std::uint32_t skip = 0;                    // this many calls go through first
  std::uint32_t times = 1;                   // then this many fail
};

// The call that the rule names. Throws FaultError when it names none that can fail, or gives it a code that it cannot
// report.
Call CallOf(const FaultRule& rule);

}  // namespace handset
