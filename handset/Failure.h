// How the handset's own functions fail within a call of the platform.
#pragma once

#include "platform/Types.h"

namespace handset {

// Thrown inside a call to fail with this code.
struct Failure {
  ce::DWORD code;
};

// The same, of a code that the platform has as a signed number.
[[noreturn]] inline void ThrowCode(ce::LONG code) { throw Failure{static_cast<ce::DWORD>(code)}; }

}  // namespace handset
