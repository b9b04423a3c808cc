#include "handset/radio/SdpRecord.h"

#include <algorithm>
#include <array>
#include <bit>
#include <fmt/format.h>
#include <set>

namespace handset {

namespace {

using ByteView = std::span<const std::uint8_t>;

constexpr int kDeepest = 16;
constexpr std::uint16_t kHandleAttribute = 0;

// Which of the eight size indexes a type may have, one bit each. Index 0 to 4 is a value of 1, 2, 4, 8 or 16 bytes (of
// none for nil), 5 to 7 a length of 1, 2 or 4 bytes that follows.
constexpr std::uint8_t kAnyLength = 0xE0;
constexpr std::array<std::uint8_t, 9> kSizesOfType = {0x01, 0x1F,       0x1F,       0x16,      kAnyLength,
                                                      0x01, kAnyLength, kAnyLength, kAnyLength};

// Takes a record apart from the front; `offset` is where the bytes at hand begin in the record.
class Reader {
 public:
  Reader(ByteView bytes, std::size_t offset) : m_bytes(bytes), m_offset(offset) {}

  bool AtEnd() const { return m_bytes.empty(); }

  SdpElement Element(int depth = 0) {
    const std::size_t start = m_offset;
    const std::uint8_t head = Take(1, start)[0];
    const std::size_t type = head >> 3;
    const unsigned size = head & 7;
    if (type >= kSizesOfType.size()) Refuse(start, fmt::format("0x{:02X} begins no known type of element", head));
    if ((kSizesOfType[type] >> size & 1) == 0) {
      Refuse(start, fmt::format("an element of type {} cannot have the size index {}", type, size));
    }
    SdpElement element{static_cast<SdpType>(type), {}, {}};
    const std::size_t length = LengthOf(element.type, size, start);
    const std::size_t valueAt = m_offset;
    const ByteView value = Take(length, start);
    if (element.type == SdpType::kSequence || element.type == SdpType::kAlternative) {
      if (depth == kDeepest) Refuse(start, fmt::format("elements are nested deeper than {}", kDeepest));
      for (Reader inside(value, valueAt); !inside.AtEnd();) element.elements.push_back(inside.Element(depth + 1));
    } else {
      Check(element.type, value, valueAt);
      element.value.assign(value.begin(), value.end());
    }
    return element;
  }

  [[noreturn]] static void Refuse(std::size_t at, const std::string& why) {
    throw SdpError(fmt::format("the service record is wrong at byte {}: {}", at, why));
  }

 private:
  std::size_t LengthOf(SdpType type, unsigned size, std::size_t start) {
    if (type == SdpType::kNil) return 0;
    if (size < 5) return std::size_t{1} << size;
    std::size_t length = 0;
    for (const std::uint8_t byte : Take(std::size_t{1} << (size - 5), start)) length = length << 8 | byte;
    return length;
  }

  ByteView Take(std::size_t count, std::size_t start) {
    if (count > m_bytes.size()) {
      Refuse(start, fmt::format("an element needs {} bytes more where {} are left", count, m_bytes.size()));
    }
    const ByteView taken = m_bytes.first(count);
    m_bytes = m_bytes.subspan(count);
    m_offset += count;
    return taken;
  }

  static void Check(SdpType type, ByteView value, std::size_t at) {
    if (type == SdpType::kBool && value[0] > 1) Refuse(at, fmt::format("a boolean is 0 or 1, not {}", value[0]));
    // It goes into an attribute of XML as it is.
    const auto printable = [](std::uint8_t byte) { return byte > 0x20 && byte < 0x7F; };
    if (type == SdpType::kUrl && !std::ranges::all_of(value, printable)) {
      Refuse(at, "a URL has printable ASCII characters only");
    }
  }

  ByteView m_bytes;
  std::size_t m_offset;
};

std::string Hex(ByteView bytes) {
  std::string text;
  for (const std::uint8_t byte : bytes) fmt::format_to(std::back_inserter(text), "{:02x}", byte);
  return text;
}

std::string Integer(const SdpElement& element) {
  const char* const sign = element.type == SdpType::kUnsigned ? "u" : "";
  std::vector<std::uint8_t> bytes = element.value;
  if (bytes.size() < 16) return fmt::format("<{}int{} value=\"0x{}\"/>", sign, bytes.size() * 8, Hex(bytes));
  // BlueZ reads the digits of a 128-bit number into memory in their order and takes that for a number of this machine.
  if constexpr (std::endian::native == std::endian::little) std::ranges::reverse(bytes);
  return fmt::format("<{}int128 value=\"{}\"/>", sign, Hex(bytes));
}

std::string Uuid(ByteView value) {
  if (value.size() < 16) return fmt::format("<uuid value=\"0x{}\"/>", Hex(value));
  const std::string digits = Hex(value);
  return fmt::format("<uuid value=\"{}-{}-{}-{}-{}\"/>", digits.substr(0, 8), digits.substr(8, 4), digits.substr(12, 4),
                     digits.substr(16, 4), digits.substr(20));
}

std::string Url(ByteView value) {
  std::string text;
  for (const std::uint8_t byte : value) {
    switch (byte) {
      case '&':
        text += "&amp;";
        break;
      case '<':
        text += "&lt;";
        break;
      case '"':
        text += "&quot;";
        break;
      default:
        text += static_cast<char>(byte);
    }
  }
  return fmt::format("<url value=\"{}\"/>", text);
}

std::string Xml(const SdpElement& element);

std::string Nested(const SdpElement& element, const char* name) {
  std::string text = fmt::format("<{}>", name);
  for (const SdpElement& inside : element.elements) text += Xml(inside);
  return text + fmt::format("</{}>", name);
}

std::string Xml(const SdpElement& element) {
  switch (element.type) {
    case SdpType::kNil:
      return "<nil/>";
    case SdpType::kUnsigned:
    case SdpType::kSigned:
      return Integer(element);
    case SdpType::kUuid:
      return Uuid(element.value);
    case SdpType::kText:
      // As digits it keeps every byte: a 0, one that is no UTF-8, markup.
      return fmt::format("<text encoding=\"hex\" value=\"{}\"/>", Hex(element.value));
    case SdpType::kBool:
      return fmt::format("<boolean value=\"{}\"/>", element.value[0] != 0);
    case SdpType::kSequence:
      return Nested(element, "sequence");
    case SdpType::kAlternative:
      return Nested(element, "alternate");
    case SdpType::kUrl:
      return Url(element.value);
  }
  return {};
}

}  // namespace

std::vector<SdpAttribute> ParseSdpRecord(std::span<const std::uint8_t> record) {
  Reader whole(record, 0);
  const SdpElement list = whole.Element();
  if (list.type != SdpType::kSequence) Reader::Refuse(0, "a record is a sequence");
  if (!whole.AtEnd()) Reader::Refuse(0, fmt::format("its sequence ends before its {} bytes do", record.size()));
  if (list.elements.empty()) Reader::Refuse(0, "it has no attributes");
  if (list.elements.size() % 2 != 0) Reader::Refuse(0, "its last attribute has no value");
  std::vector<SdpAttribute> attributes;
  std::set<std::uint16_t> seen;
  for (std::size_t i = 0; i < list.elements.size(); i += 2) {
    const SdpElement& id = list.elements[i];
    if (id.type != SdpType::kUnsigned || id.value.size() != 2) {
      Reader::Refuse(0, fmt::format("the id of attribute number {} is no 16-bit number", i / 2 + 1));
    }
    const auto number = static_cast<std::uint16_t>(id.value[0] << 8 | id.value[1]);
    if (!seen.insert(number).second) Reader::Refuse(0, fmt::format("attribute 0x{:04X} is in it twice", number));
    attributes.push_back({number, list.elements[i + 1]});
  }
  return attributes;
}

std::string ToBluezXml(const std::vector<SdpAttribute>& attributes) {
  std::string text = "<?xml version=\"1.0\" encoding=\"UTF-8\"?><record>";
  for (const SdpAttribute& attribute : attributes) {
    if (attribute.id == kHandleAttribute) continue;
    text += fmt::format("<attribute id=\"0x{:04x}\">{}</attribute>", attribute.id, Xml(attribute.value));
  }
  return text + "</record>";
}

}  // namespace handset
