#include "desktop/vcard/VCardLine.h"

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <fmt/format.h>
#include <iconv.h>
#include <memory>

#include "desktop/Base64.h"
#include "desktop/Text.h"

namespace brelix {
namespace {

constexpr size_t kFold = 75;
constexpr std::string_view kPhoneNewLine = "\r\n";

bool IsNameCharacter(char c) { return std::isalnum(static_cast<unsigned char>(c)) != 0 || c == '-' || c == '_'; }

// The first of the characters that does not stand in quotes.
size_t FindOutsideQuotes(std::string_view text, std::string_view characters, size_t from = 0) {
  bool quoted = false;
  for (size_t i = from; i < text.size(); i++) {
    if (text[i] == '"') quoted = !quoted;
    if (!quoted && characters.find(text[i]) != characters.npos) return i;
  }
  return text.npos;
}

void AddTypes(VCardLine& line, std::string_view list) {
  while (!list.empty()) {
    const size_t comma = std::min(list.find(','), list.size());
    if (comma > 0) line.types.push_back(Capitals(list.substr(0, comma)));
    list.remove_prefix(std::min(comma + 1, list.size()));
  }
}

void AddParameter(VCardLine& line, std::string_view text) {
  const size_t equals = text.find('=');
  const std::string name = Capitals(text.substr(0, equals));
  if (equals == text.npos) {  // 2.1 leaves out what kind of parameter it is
    if (name == "QUOTED-PRINTABLE" || name == "BASE64")
      line.encoding = name;
    else
      line.types.push_back(name);
    return;
  }
  std::string value(text.substr(equals + 1));
  std::erase(value, '"');
  if (name == "TYPE") AddTypes(line, value);
  if (name == "ENCODING") line.encoding = Capitals(value);
  if (name == "CHARSET") line.charset = Capitals(value);
  if (name == "VALUE") line.types.push_back("VALUE=" + Capitals(value));
}

int HexDigit(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  const char upper = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
  return upper >= 'A' && upper <= 'F' ? upper - 'A' + 10 : -1;
}

// An "=" that two hexadecimal digits do not follow stays what it is.
std::string FromQuotedPrintable(std::string_view text) {
  std::string out;
  for (size_t i = 0; i < text.size(); i++) {
    const bool code = text[i] == '=' && i + 2 < text.size() && HexDigit(text[i + 1]) >= 0 && HexDigit(text[i + 2]) >= 0;
    if (!code) {
      out += text[i];
      continue;
    }
    out += static_cast<char>(HexDigit(text[i + 1]) * 16 + HexDigit(text[i + 2]));
    i += 2;
  }
  return out;
}

// Nothing for a charset that is not known; bytes that are none of its characters become U+FFFD.
std::optional<std::string> ToUtf8(std::string bytes, const std::string& charset) {
  const iconv_t converter = iconv_open("UTF-8", charset.c_str());
  if (converter == reinterpret_cast<iconv_t>(-1)) return std::nullopt;
  const std::unique_ptr<void, int (*)(iconv_t)> owned(converter, iconv_close);
  std::string out;
  char* from = bytes.data();
  size_t left = bytes.size();
  while (left > 0) {
    char buffer[4096];
    char* to = buffer;
    size_t room = sizeof buffer;
    const size_t done = iconv(converter, &from, &left, &to, &room);
    const int error = errno;
    out.append(buffer, to);
    if (done != static_cast<size_t>(-1) || error == E2BIG) continue;
    out += "\xEF\xBF\xBD";
    from++;
    left--;
  }
  return out;
}

// Takes one character, or one escaped, off the front; separator is set for one that stands by itself.
std::string TakeUnit(std::string_view& value, char separator, VCardVersion version, bool& is_separator) {
  const char c = value[0];
  is_separator = c == separator;
  const char next = value.size() > 1 ? value[1] : '\0';
  const bool escape =
      c == '\\' && next != '\0' &&
      (version == VCardVersion::k21 ? next == ';' : std::string_view("nN\\,;:").find(next) != std::string_view::npos);
  value.remove_prefix(escape ? 2 : 1);
  if (!escape) {
    // Only an encoding can bring a line's end into a value.
    if (c == '\r' && value.starts_with('\n')) value.remove_prefix(1);
    return c == '\r' || c == '\n' ? std::string(kPhoneNewLine) : std::string(1, c);
  }
  return next == 'n' || next == 'N' ? std::string(kPhoneNewLine) : std::string(1, next);
}

std::string EscapedBut(std::string_view text, std::string_view as_they_are) {
  std::string out;
  out.reserve(text.size() + 8);
  for (size_t i = 0; i < text.size(); i++) {
    const char c = text[i];
    const auto byte = static_cast<uint8_t>(c);
    if (c == '\r' && i + 1 < text.size() && text[i + 1] == '\n') continue;
    if (c == '\r' || c == '\n') {
      out += "\\n";
    } else if (c == '\\' || ((c == ',' || c == ';') && as_they_are.find(c) == as_they_are.npos)) {
      out += '\\';
      out += c;
    } else if (c == '\t' || (byte >= 0x20 && byte != 0x7F)) {
      out += c;
    }
  }
  return out;
}

}  // namespace

std::string Capitals(std::string_view text) {
  std::string out(text);
  for (char& c : out) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
  return out;
}

bool VCardLine::Has(std::string_view type) const { return std::find(types.begin(), types.end(), type) != types.end(); }

std::optional<VCardLine> ParseVCardLine(std::string_view text, size_t number) {
  const size_t colon = FindOutsideQuotes(text, ":");
  if (colon == text.npos) return std::nullopt;
  std::string_view head = text.substr(0, colon);
  VCardLine line{.number = number,
                 .name = {},
                 .types = {},
                 .encoding = {},
                 .charset = {},
                 .value = std::string(text.substr(colon + 1))};

  size_t end = std::min(head.find(';'), head.size());
  std::string_view name = head.substr(0, end);
  if (const size_t dot = name.find('.'); dot != name.npos) name.remove_prefix(dot + 1);
  if (name.empty() || !std::all_of(name.begin(), name.end(), IsNameCharacter)) return std::nullopt;
  line.name = Capitals(name);
  while (end < head.size()) {
    const size_t next = std::min(FindOutsideQuotes(head, ";", end + 1), head.size());
    if (next > end + 1) AddParameter(line, head.substr(end + 1, next - end - 1));
    end = next;
  }
  return line;
}

std::optional<std::string> DecodedValue(const VCardLine& line) {
  std::string bytes = line.value;
  if (line.IsQuotedPrintable()) {
    bytes = FromQuotedPrintable(bytes);
  } else if (line.IsBase64()) {
    const auto decoded = FromBase64(bytes);
    if (!decoded) return std::nullopt;
    bytes.assign(decoded->begin(), decoded->end());
  } else if (!line.encoding.empty() && line.encoding != "8BIT" && line.encoding != "7BIT") {
    return std::nullopt;
  }
  if (line.charset.empty() || line.charset == "UTF-8") return IsUtf8(bytes) ? bytes : ToUtf8(bytes, "CP1252");
  return ToUtf8(std::move(bytes), line.charset);
}

std::vector<std::string> SplitValue(std::string_view value, char separator, VCardVersion version) {
  std::vector<std::string> parts(1);
  while (!value.empty()) {
    bool is_separator = false;
    const std::string unit = TakeUnit(value, separator, version, is_separator);
    if (is_separator)
      parts.emplace_back();
    else
      parts.back() += unit;
  }
  return parts;
}

std::string Unescaped(std::string_view value, VCardVersion version) { return SplitValue(value, '\0', version)[0]; }

std::string Escaped(std::string_view text) { return EscapedBut(CleanUtf8(text), ""); }

std::string EscapedUri(std::string_view text) { return EscapedBut(CleanUtf8(text), ",;"); }

std::string Folded(std::string_view line) {
  std::string out;
  size_t room = kFold;
  while (line.size() > room) {
    size_t end = room;
    while (end > 1 && (static_cast<uint8_t>(line[end]) & 0xC0) == 0x80) end--;
    out += line.substr(0, end);
    out += "\r\n ";
    line.remove_prefix(end);
    room = kFold - 1;  // the blank in front counts
  }
  out += line;
  return out + "\r\n";
}

}  // namespace brelix
