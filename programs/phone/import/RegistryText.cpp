#include "programs/phone/import/RegistryText.h"

#include <algorithm>
#include <charconv>
#include <fmt/format.h>
#include <fstream>
#include <iterator>
#include <map>
#include <optional>

#include "handset/Text.h"
#include "platform/Registry.h"

namespace brelix_phone {
namespace {

using handset::Bytes;
using handset::RegistryKey;
using handset::RegistryValue;

constexpr std::size_t kLongestName = 255;

// What is wrong with a line; the reader adds file and number.
struct BadLine {
  std::string what;
};

std::u16string_view Trim(std::u16string_view text) {
  constexpr std::u16string_view kBlanks = u" \t\r";
  const std::size_t begin = std::min(text.find_first_not_of(kBlanks), text.size());
  text.remove_prefix(begin);
  return text.substr(0, text.find_last_not_of(kBlanks) + 1);
}

// Takes a text off the front; false when it is not there.
bool Take(std::u16string_view& text, std::u16string_view expected) {
  if (!text.starts_with(expected)) return false;
  text.remove_prefix(expected.size());
  return true;
}

// Takes "..." off the front, where \\ and \" stand for themselves.
std::u16string TakeQuoted(std::u16string_view& text) {
  std::u16string out;
  text.remove_prefix(1);
  while (!text.empty()) {
    const char16_t c = text[0];
    text.remove_prefix(1);
    if (c == u'"') return out;
    if (c != u'\\') {
      out.push_back(c);
      continue;
    }
    if (text.empty() || (text[0] != u'\\' && text[0] != u'"')) throw BadLine{"\\ must be followed by \\ or \""};
    out.push_back(text[0]);
    text.remove_prefix(1);
  }
  throw BadLine{"a text without its closing \""};
}

std::uint32_t HexNumber(std::u16string_view digits, std::size_t most, const char* what) {
  const std::string text(digits.begin(), digits.end());
  std::uint32_t number = 0;
  const auto [stop, error] = std::from_chars(text.data(), text.data() + text.size(), number, 16);
  if (text.empty() || text.size() > most || error != std::errc{} || stop != text.data() + text.size()) {
    throw BadLine{what};
  }
  return number;
}

Bytes StoredText(std::u16string_view text) {
  Bytes bytes;
  for (std::size_t i = 0; i <= text.size(); ++i) {
    const char16_t unit = i < text.size() ? text[i] : u'\0';
    bytes.push_back(static_cast<std::uint8_t>(unit & 0xFF));
    bytes.push_back(static_cast<std::uint8_t>(unit >> 8));
  }
  return bytes;
}

Bytes HexBytes(std::u16string_view text) {
  Bytes bytes;
  for (text = Trim(text); !text.empty();) {
    const std::size_t end = std::min(text.find(u','), text.size());
    bytes.push_back(static_cast<std::uint8_t>(
        HexNumber(Trim(text.substr(0, end)), 2, "expected two hexadecimal digits a byte, with commas between")));
    text.remove_prefix(std::min(end + 1, text.size()));
  }
  return bytes;
}

bool IsText(std::uint32_t type) { return type == ce::REG_SZ || type == ce::REG_EXPAND_SZ || type == ce::REG_MULTI_SZ; }

// Version 4 writes the bytes of texts in the code page of its machine; which one, the file does not say.
Bytes Widened(const Bytes& bytes) {
  Bytes wide;
  for (const std::uint8_t byte : bytes) {
    if (byte >= 0x80) throw BadLine{"a text with bytes beyond 7F in a REGEDIT4 file; export it as version 5.00"};
    wide.push_back(byte);
    wide.push_back(0);
  }
  return wide;
}

class Reader {
 public:
  void Line(std::u16string_view line) {
    if (line.empty() || line[0] == u';') return;
    if (!m_hasHeader) return Header(line);
    if (line[0] == u'[') return Key(line);
    Value(line);
  }
  bool HasHeader() const { return m_hasHeader; }
  std::vector<RegistryKey> Keys() && { return std::move(m_keys); }

 private:
  void Header(std::u16string_view line) {
    m_isVersion4 = line == u"REGEDIT4";
    m_hasHeader = m_isVersion4 || line == u"Windows Registry Editor Version 5.00";
    if (!m_hasHeader) throw BadLine{"expected \"Windows Registry Editor Version 5.00\" or \"REGEDIT4\""};
  }

  void Key(std::u16string_view line) {
    if (line.back() != u']') throw BadLine{"a key without its closing ]"};
    line = line.substr(1, line.size() - 2);
    if (line.starts_with(u'-')) throw BadLine{"deletes a key, which a new phone does not have; remove the line"};
    const std::u16string path = Path(line);
    const auto [at, isNew] = m_places.emplace(handset::Fold(path), m_keys.size());
    if (isNew) m_keys.push_back({path, {}});
    m_current = at->second;
  }

  static std::u16string Path(std::u16string_view line) {
    const std::size_t end = std::min(line.find(u'\\'), line.size());
    const std::u16string asked = handset::Fold(line.substr(0, end));
    for (const handset::RegistryRoot& root : handset::kRegistryRoots) {
      const std::u16string shortName(root.name.begin(), root.name.end());
      const std::u16string longName(root.longName.begin(), root.longName.end());
      if (asked != shortName && asked != longName) continue;
      CheckNames(line.substr(end));
      return shortName + std::u16string(line.substr(end));
    }
    throw BadLine{"expected a key below HKEY_CLASSES_ROOT, HKEY_CURRENT_USER, HKEY_LOCAL_MACHINE or HKEY_USERS"};
  }

  static void CheckNames(std::u16string_view path) {
    while (!path.empty()) {
      path.remove_prefix(1);
      const std::size_t size = std::min(path.find(u'\\'), path.size());
      if (size == 0 || size > kLongestName) throw BadLine{"key names have 1 to 255 characters"};
      path.remove_prefix(size);
    }
  }

  void Value(std::u16string_view line) {
    if (!m_current) throw BadLine{"a value in front of the first key"};
    RegistryValue value;
    if (line[0] == u'"') {
      value.name = TakeQuoted(line);
    } else if (!Take(line, u"@")) {
      throw BadLine{"expected [a key], \"a name\"=data or @=data"};
    }
    if (value.name.size() > kLongestName) throw BadLine{"value names have at most 255 characters"};
    line = Trim(line);
    if (!Take(line, u"=")) throw BadLine{"expected = behind the name"};
    Data(Trim(line), value);
    Put(std::move(value));
  }

  void Data(std::u16string_view text, RegistryValue& value) const {
    if (text == u"-") throw BadLine{"deletes a value, which a new phone does not have; remove the line"};
    if (text.starts_with(u'"')) {
      value.type = ce::REG_SZ;
      value.data = StoredText(TakeQuoted(text));
      if (!text.empty()) throw BadLine{"something behind the closing \""};
    } else if (Take(text, u"dword:")) {
      value.type = ce::REG_DWORD;
      const std::uint32_t number = HexNumber(text, 8, "expected up to eight hexadecimal digits behind dword:");
      for (int shift = 0; shift < 32; shift += 8) value.data.push_back(static_cast<std::uint8_t>(number >> shift));
    } else if (Take(text, u"hex:")) {
      value.type = ce::REG_BINARY;
      value.data = HexBytes(text);
    } else if (Take(text, u"hex(")) {
      const std::size_t end = text.find(u"):");
      if (end == std::u16string_view::npos) throw BadLine{"expected hex(type):"};
      value.type = HexNumber(text.substr(0, end), 8, "expected a type of hexadecimal digits in hex(type):");
      value.data = HexBytes(text.substr(end + 2));
      if (m_isVersion4 && IsText(value.type)) value.data = Widened(value.data);
    } else {
      throw BadLine{"expected \"text\", dword:, hex: or hex(type): behind ="};
    }
  }

  void Put(RegistryValue value) {
    const std::pair place(*m_current, handset::Fold(value.name));
    std::vector<RegistryValue>& values = m_keys[*m_current].values;
    const auto [at, isNew] = m_valuePlaces.emplace(place, values.size());
    if (isNew) {
      values.push_back(std::move(value));
    } else {
      values[at->second] = std::move(value);
    }
  }

  bool m_hasHeader = false;
  bool m_isVersion4 = false;
  std::vector<RegistryKey> m_keys;
  std::optional<std::size_t> m_current;
  std::map<std::u16string, std::size_t> m_places;  // by folded path
  std::map<std::pair<std::size_t, std::u16string>, std::size_t> m_valuePlaces;
};

struct NumberedLine {
  std::size_t number;
  std::u16string text;
};

std::string ReadBytes(const std::filesystem::path& file) {
  if (std::filesystem::is_directory(file)) throw std::runtime_error(file.string() + ": a folder, not a registry file");
  std::ifstream in(file, std::ios::binary);
  std::string bytes{std::istreambuf_iterator<char>(in), {}};
  if (!in.good() && !in.eof()) throw std::runtime_error(file.string() + ": cannot be read");
  return bytes;
}

// The file's lines as units, without line ends.
std::vector<NumberedLine> Lines(const std::filesystem::path& file) {
  std::string bytes = ReadBytes(file);
  std::u16string units;
  const bool isWide = bytes.starts_with("\xFF\xFE");
  if (isWide && bytes.size() % 2 != 0)
    throw std::runtime_error(file.string() + ": UTF-16 with half a character at its end");
  for (std::size_t i = 2; isWide && i < bytes.size(); i += 2) {
    units.push_back(
        static_cast<char16_t>(static_cast<std::uint8_t>(bytes[i]) | static_cast<std::uint8_t>(bytes[i + 1]) << 8));
  }
  if (bytes.starts_with("\xEF\xBB\xBF")) bytes.erase(0, 3);
  std::vector<NumberedLine> lines;
  const std::size_t size = isWide ? units.size() : bytes.size();
  for (std::size_t at = 0; at < size;) {
    const std::size_t end = std::min(isWide ? units.find(u'\n', at) : bytes.find('\n', at), size);
    const std::size_t number = lines.size() + 1;
    auto text = isWide ? units.substr(at, end - at)
                       : handset::FromUtf8(std::string_view(bytes).substr(at, end - at), handset::Surrogates::kAccept);
    if (!text) throw std::runtime_error(fmt::format("{}:{}: neither UTF-8 nor UTF-16", file.string(), number));
    lines.push_back({number, std::move(*text)});
    at = end + 1;
  }
  return lines;
}

// A line of bytes that ends in a backslash goes on in the next one.
bool GoesOn(std::u16string_view line) {
  return line.ends_with(u'\\') && line.find(u"=hex") != std::u16string_view::npos;
}

}  // namespace

std::vector<RegistryKey> ReadRegistryText(const std::filesystem::path& file) {
  const std::vector<NumberedLine> lines = Lines(file);
  Reader reader;
  for (std::size_t i = 0; i < lines.size(); ++i) {
    const std::size_t number = lines[i].number;
    std::u16string line(Trim(lines[i].text));
    while (GoesOn(line) && i + 1 < lines.size()) {
      line.pop_back();
      line += Trim(lines[++i].text);
    }
    try {
      reader.Line(line);
    } catch (const BadLine& bad) {
      throw std::runtime_error(fmt::format("{}:{}: {}", file.string(), number, bad.what));
    }
  }
  if (!reader.HasHeader()) throw std::runtime_error(file.string() + ":1: an empty file, not a registry file");
  return std::move(reader).Keys();
}

}  // namespace brelix_phone
