#include "desktop/registry/RegText.h"

#include <algorithm>
#include <fmt/format.h>

#include "desktop/Text.h"
#include "desktop/registry/ValueText.h"

namespace brelix {
namespace {

constexpr std::u16string_view kLineEnd = u"\r\n";
constexpr size_t kWidest = 77;  // units of a line of bytes, before the backslash that continues it

std::u16string Wide(std::string_view ascii) { return {ascii.begin(), ascii.end()}; }

bool HalfPairs(std::u16string_view units) {
  const auto high = [](char16_t c) { return c >= 0xD800 && c < 0xDC00; };
  const auto low = [](char16_t c) { return c >= 0xDC00 && c < 0xE000; };
  for (size_t at = 0; at < units.size(); at++) {
    const bool pair = high(units[at]) && at + 1 < units.size() && low(units[at + 1]);
    if (!pair && (high(units[at]) || low(units[at]))) return true;
    at += pair ? 1 : 0;
  }
  return false;
}

// Whether a text can stand on a line as it is.
bool Plain(std::u16string_view units, RegEncoding encoding) {
  const bool control = std::ranges::any_of(units, [](char16_t c) { return c < 0x20; });
  return !control && (encoding == RegEncoding::kUtf16 || !HalfPairs(units));
}

std::u16string Quoted(std::u16string_view units) {
  std::u16string out = u"\"";
  for (const char16_t c : units) {
    if (c == '"' || c == '\\') out += u'\\';
    out += c;
  }
  return out + u"\"";
}

Bytes WithTerminator(std::u16string_view units) {
  Bytes bytes;
  for (const char16_t c : units) {
    bytes.push_back(static_cast<uint8_t>(c));
    bytes.push_back(static_cast<uint8_t>(c >> 8));
  }
  bytes.insert(bytes.end(), 2, 0);
  return bytes;
}

// "hex(7):61,00,..." in lines of at most 80 units, each but the last ending in a backslash.
std::u16string HexLines(std::u16string line, uint32_t type, ByteView bytes) {
  line += Wide(type == kBinary ? "hex:" : fmt::format("hex({:x}):", type));
  std::u16string out;
  for (size_t i = 0; i < bytes.size(); i++) {
    if (line.size() + 3 > kWidest) {
      out += line + u"\\" + std::u16string(kLineEnd);
      line = u"  ";
    }
    line += Wide(fmt::format("{:02x}{}", bytes[i], i + 1 < bytes.size() ? "," : ""));
  }
  return out + line;
}

std::u16string ValueLines(std::u16string_view name, const RegistryValue& value, RegEncoding encoding) {
  std::u16string line = (name.empty() ? u"@" : Quoted(name)) + u"=";
  if (const auto number = Number(value)) return line + Wide(fmt::format("dword:{:08x}", *number));
  if (!value.IsText()) return HexLines(std::move(line), value.type, value.data);
  const std::u16string text = WireUnits(value.Text()).value_or(u"");
  if (value.type == kText && Plain(text, encoding)) return line + Quoted(text);
  return HexLines(std::move(line), value.type, WithTerminator(text));
}

std::string Encoded(std::u16string_view text, RegEncoding encoding) {
  if (encoding == RegEncoding::kUtf8) return UnitsToUtf8(text);
  std::string out;
  out.reserve(text.size() * 2);
  for (const char16_t c : text) {
    out += static_cast<char>(c);
    out += static_cast<char>(c >> 8);
  }
  return out;
}

}  // namespace

std::string RegHeader(RegEncoding encoding) {
  const std::u16string mark = encoding == RegEncoding::kUtf16 ? u"\uFEFF" : u"";
  return Encoded(mark + u"Windows Registry Editor Version 5.00\r\n", encoding);
}

std::string RegText(const KeyContents& key, RegEncoding encoding, Problems& problems) {
  const auto leave_out = [&](const std::string& why) {
    problems.push_back({key.path.ForPeople(), fmt::format("{}: {}", key.path.ForPeople(), why)});
  };
  const auto path = WireUnits(key.path.LongForm());
  if (!path || !Plain(*path, encoding)) {
    leave_out("a .reg text cannot hold this key's name");
    return "";
  }
  std::u16string text = std::u16string(kLineEnd) + u"[" + *path + u"]" + std::u16string(kLineEnd);
  for (const RegistryValue& value : key.values) {
    const auto name = WireUnits(value.name);
    if (!name || !Plain(*name, encoding))
      leave_out(fmt::format("a .reg text cannot hold the name of the value \"{}\"", CleanUtf8(value.name)));
    else if (value.IsText() && !WireUnits(value.Text()))
      leave_out(fmt::format("the value \"{}\" is no text, although its type says so", CleanUtf8(value.name)));
    else
      text += ValueLines(*name, value, encoding) + std::u16string(kLineEnd);
  }
  return Encoded(text, encoding);
}

}  // namespace brelix
