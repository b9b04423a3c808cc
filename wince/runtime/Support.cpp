// What the compiler leaves to a support library: division, which these cores have no instruction for, and the trap of
// an abstract class. The phone's own division helpers take their arguments in another order and are not used.
#include <cstdint>

namespace {

// The quotient, and the remainder in place of value. Nothing here may itself divide.
template <class Unsigned>
Unsigned Divide(Unsigned& value, Unsigned divisor) {
  if (divisor == 0) {
    __builtin_trap();
  }
  Unsigned bit = 1;
  while (divisor < value && static_cast<Unsigned>(divisor << 1) >> 1 == divisor) {
    divisor <<= 1;
    bit <<= 1;
  }
  Unsigned quotient = 0;
  for (; bit != 0; bit >>= 1, divisor >>= 1) {
    if (value >= divisor) {
      value -= divisor;
      quotient |= bit;
    }
  }
  return quotient;
}

template <class Unsigned, class Signed>
Unsigned Magnitude(Signed value) {
  return value < 0 ? Unsigned{0} - static_cast<Unsigned>(value) : static_cast<Unsigned>(value);
}

template <class Unsigned, class Signed>
Signed WithSign(Unsigned magnitude, bool negative) {
  return static_cast<Signed>(negative ? Unsigned{0} - magnitude : magnitude);
}

template <class Unsigned, class Signed>
Signed Quotient(Signed value, Signed divisor) {
  Unsigned rest = Magnitude<Unsigned>(value);
  const Unsigned quotient = Divide(rest, Magnitude<Unsigned>(divisor));
  return WithSign<Unsigned, Signed>(quotient, (value < 0) != (divisor < 0));
}

template <class Unsigned, class Signed>
Signed Remainder(Signed value, Signed divisor) {
  Unsigned rest = Magnitude<Unsigned>(value);
  Divide(rest, Magnitude<Unsigned>(divisor));
  return WithSign<Unsigned, Signed>(rest, value < 0);
}

}  // namespace

extern "C" {

std::uint32_t __udivsi3(std::uint32_t value, std::uint32_t divisor) { return Divide(value, divisor); }
std::uint32_t __umodsi3(std::uint32_t value, std::uint32_t divisor) {
  Divide(value, divisor);
  return value;
}
std::int32_t __divsi3(std::int32_t value, std::int32_t divisor) { return Quotient<std::uint32_t>(value, divisor); }
std::int32_t __modsi3(std::int32_t value, std::int32_t divisor) { return Remainder<std::uint32_t>(value, divisor); }

std::uint64_t __udivdi3(std::uint64_t value, std::uint64_t divisor) { return Divide(value, divisor); }
std::uint64_t __umoddi3(std::uint64_t value, std::uint64_t divisor) {
  Divide(value, divisor);
  return value;
}
std::int64_t __divdi3(std::int64_t value, std::int64_t divisor) { return Quotient<std::uint64_t>(value, divisor); }
std::int64_t __moddi3(std::int64_t value, std::int64_t divisor) { return Remainder<std::uint64_t>(value, divisor); }

[[noreturn]] void __cxa_pure_virtual() { __builtin_trap(); }

}  // extern "C"
