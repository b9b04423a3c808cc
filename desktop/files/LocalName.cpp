#include "desktop/files/LocalName.h"

#include <algorithm>
#include <fmt/format.h>
#include <stdexcept>

#include "desktop/Text.h"

namespace brelix {
namespace {

constexpr size_t kLongest = 255;  // bytes of one name on this system
constexpr std::string_view kGoesOn = "%+";
constexpr std::string_view kGoneOn = "+%";
constexpr size_t kEscape = 6;  // "%uXXXX"

bool IsHigh(char16_t unit) { return unit >= 0xD800 && unit < 0xDC00; }
bool IsLow(char16_t unit) { return unit >= 0xDC00 && unit < 0xE000; }

bool LooksEscaped(std::u16string_view rest) {
  return rest.size() >= kEscape && rest.starts_with(u"%u") &&
         std::all_of(rest.begin() + 2, rest.begin() + 6, [](char16_t c) {
           return (c >= '0' && c <= '9') || (c >= 'A' && c <= 'F') || (c >= 'a' && c <= 'f');
         });
}

bool MustEscape(std::u16string_view name, size_t at) {
  const std::u16string_view rest = name.substr(at);
  if (IsHigh(rest[0])) return rest.size() < 2 || !IsLow(rest[1]);
  if (IsLow(rest[0])) return at == 0 || !IsHigh(name[at - 1]);
  if (rest[0] == '%') return LooksEscaped(rest) || rest == u"%+";
  const std::u16string prefix(kPartPrefix.begin(), kPartPrefix.end());
  return at == 0 && (rest.starts_with(prefix) || rest.starts_with(u"+%"));
}

// The pieces of which the name consists and that must not be cut: characters and escapes.
std::string Piece(std::u16string_view name, size_t& at) {
  const char16_t unit = name[at];
  if (MustEscape(name, at)) {
    at++;
    return fmt::format("%u{:04X}", static_cast<unsigned>(unit));
  }
  const size_t units = IsHigh(unit) ? 2 : 1;
  const std::string text = UnitsToUtf8(name.substr(at, units));
  at += units;
  return text;
}

}  // namespace

std::string LocalName(std::string_view wire) {
  const auto name = WireUnits(wire);
  if (!name) throw std::invalid_argument("not a name of a phone");
  std::string whole, local;
  std::string line;  // the component that is being filled
  for (size_t at = 0; at < name->size();) {
    const std::string piece = Piece(*name, at);
    whole += piece;
    if (line.size() + piece.size() + kGoesOn.size() > kLongest) {
      local += line + std::string(kGoesOn) + "/";
      line = kGoneOn;
    }
    line += piece;
  }
  return whole.size() <= kLongest ? whole : local + line;
}

}  // namespace brelix
