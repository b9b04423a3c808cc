// CContactRecord, written as a contactentry document and read from one.
#include <algorithm>
#include <cstring>

#include "agent/engine/AgentEngine.h"
#include "agent/engine/Codecs.h"
#include "agent/engine/DocumentLines.h"
#include "agent/modules/pim/ContactRecord.h"

namespace {

// Of a tag or a text, in UTF-8. Chosen: a document with a longer one is refused.
constexpr std::int32_t kLongestToken = 255;

// Whether the tag is the opening, the name and ">", and nothing else.
bool IsTag(std::string_view tag, std::string_view opening, std::string_view name) {
  if (tag.size() != opening.size() + name.size() + 1 || !tag.starts_with(opening) || !tag.ends_with('>')) {
    return false;
  }
  tag.remove_prefix(opening.size());
  return tag.starts_with(name);
}
bool Opens(std::string_view tag, std::string_view name) { return IsTag(tag, "<", name); }
bool Closes(std::string_view tag, std::string_view name) { return IsTag(tag, "</", name); }

// Takes a number of at most so many digits off the front of the text. False without a digit.
bool TakeNumber(std::string_view& text, std::size_t digits, ce::WORD& number) {
  std::size_t taken = 0;
  number = 0;
  for (; taken < digits && taken < text.size() && text[taken] >= '0' && text[taken] <= '9'; ++taken) {
    number = static_cast<ce::WORD>(number * 10 + (text[taken] - '0'));
  }
  text.remove_prefix(taken);
  return taken > 0;
}

// Chosen: six numbers make a date; what follows the last one, the Z too, is not looked at.
bool ParseDate(std::string_view text, ce::DATE& date) {
  ce::SYSTEMTIME time{};
  if (!TakeNumber(text, 4, time.wYear) || !TakeNumber(text, 2, time.wMonth) || !TakeNumber(text, 2, time.wDay) ||
      !text.starts_with('T')) {
    return false;
  }
  text.remove_prefix(1);
  return TakeNumber(text, 2, time.wHour) && TakeNumber(text, 2, time.wMinute) && TakeNumber(text, 2, time.wSecond) &&
         ce::SystemTimeToVariantTime(&time, &date) != 0;
}

bool ConvertText(std::string_view text, CSystemString& converted) {
  // A character that the text's end cuts short takes zeros from behind it.
  constexpr std::size_t kCutCharacter = 2;
  std::array<std::uint8_t, kLongestToken + 1 + kCutCharacter> bytes{};
  std::array<ce::WCHAR, kLongestToken + 1> units{};
  std::memcpy(bytes.data(), text.data(), text.size());
  CAgentEngine::Utf8ToUtf16(bytes.data(), units.data(), static_cast<std::uint32_t>(units.size()));
  return converted.Copy(units.data());
}

}  // namespace

// Kept(contact-text-raw): texts are not escaped, neither "<" nor "&".
void CContactRecord::Write(CReplyWriter& reply) const {
  reply.U32(wire::kResultOk);
  reply.XmlHeader();
  reply.Text("<contactentry>\n");
  document::Element(reply, "oid", [&] { reply.Unsigned(m_oid); });
  for (std::size_t i = 0; i < m_dates.size(); ++i) {
    document::Date(reply, contact::kDates[i].element, m_dates[i]);
  }
  for (const std::uint8_t i : contact::kWriteOrder) {
    if (!m_texts[i].IsNull()) {
      document::Element(reply, contact::kTexts[i].element, [&] { reply.Utf8(m_texts[i].View()); });
    }
  }
  if (m_picture) {
    reply.Text("  <Picture>\n");
    reply.Text({m_picture.get(), m_pictureLength});
    reply.Text("  </Picture>\n");
  }
  reply.Text("</contactentry>");
}

// The document's tokens, one after the other.
class CContactRecord::CTokens {
 public:
  explicit CTokens(std::span<const std::uint8_t> document)
      : m_text(reinterpret_cast<const char*>(document.data())), m_limit(static_cast<std::int32_t>(document.size())) {}

  bool AtEnd() const { return m_pos >= m_limit; }
  // False when the token is too long.
  bool NextTag() { return Next(true); }
  bool NextText() { return Next(false); }
  std::string_view Token() const { return m_token; }

 private:
  bool Next(bool tag) {
    const codecs::Token token = codecs::FindToken(m_text, m_pos, m_limit, tag);
    m_pos = token.end;
    m_token = {m_text + token.begin, static_cast<std::size_t>(token.end - token.begin)};
    return token.end - token.begin <= kLongestToken;
  }

  const char* m_text;
  std::int32_t m_limit;
  std::int32_t m_pos = 0;
  std::string_view m_token;
};

bool CContactRecord::Read(std::span<const std::uint8_t> document) {
  CTokens tokens(document);
  if (!tokens.NextTag() || tokens.Token() != codecs::kXmlDeclaration || !tokens.NextTag() ||
      !Opens(tokens.Token(), contact::kRoot)) {
    return false;
  }
  while (!tokens.AtEnd() && tokens.NextTag()) {
    if (Closes(tokens.Token(), contact::kRoot)) {
      return true;
    }
    if (!ReadElement(tokens)) {
      return false;
    }
  }
  return false;
}

bool CContactRecord::ReadElement(CTokens& tokens) {
  for (std::size_t i = 0; i < m_dates.size(); ++i) {
    if (Opens(tokens.Token(), contact::kDates[i].element)) {
      return ReadDate(tokens, i);
    }
  }
  for (std::size_t i = 0; i < m_texts.size(); ++i) {
    if (Opens(tokens.Token(), contact::kTexts[i].element)) {
      return ReadText(tokens, i);
    }
  }
  // The oid, the picture and what nobody knows are passed over: a text and a tag.
  return tokens.NextText() && tokens.NextTag();
}

bool CContactRecord::ReadDate(CTokens& tokens, std::size_t index) {
  return tokens.NextText() && ParseDate(tokens.Token(), m_dates[index]) && tokens.NextTag() &&
         Closes(tokens.Token(), contact::kDates[index].element);
}

// Of an element that is there twice the last one counts.
bool CContactRecord::ReadText(CTokens& tokens, std::size_t index) {
  return tokens.NextText() && ConvertText(tokens.Token(), m_texts[index]) && tokens.NextTag() &&
         Closes(tokens.Token(), contact::kTexts[index].element);
}
