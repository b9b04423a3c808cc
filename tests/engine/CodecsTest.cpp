#include <gtest/gtest.h>
#include <string>

#include "agent/engine/AgentEngine.h"
#include "tests/support/Bytes.h"

namespace test {
namespace {

constexpr std::uint8_t kGuard = 0xA5;

Bytes ToUtf8(const std::u16string& text) {
  Bytes dest(text.size() * 3 + 1 + 4, kGuard);
  const std::uint32_t count = CAgentEngine::Utf16ToUtf8(text.c_str(), dest.data());
  EXPECT_EQ(dest[count], 0);
  EXPECT_EQ(dest[count + 1], kGuard);
  dest.resize(count);
  return dest;
}

struct Decoded {
  std::u16string text;
  std::uint32_t consumed;
};

Decoded FromUtf8(const Bytes& bytes, std::uint32_t capacity) {
  Bytes source = bytes + Bytes(8, 0);
  std::u16string dest(capacity + 4, 0xA5A5);
  const std::uint32_t consumed = CAgentEngine::Utf8ToUtf16(source.data(), dest.data(), capacity);
  for (std::size_t i = capacity; i < dest.size(); ++i) EXPECT_EQ(dest[i], 0xA5A5) << "written past the capacity";
  return {dest.substr(0, capacity == 0 ? 0 : dest.find(u'\0')), consumed};
}

TEST(Utf16ToUtf8, encodes_unit_by_unit) {
  EXPECT_EQ(ToUtf8(u"A\u00E9"), FromHex("41 c3a9"));
  EXPECT_EQ(ToUtf8(u"\u20AC\uFFFF"), FromHex("e282ac efbfbf"));
  EXPECT_EQ(ToUtf8(u""), Bytes{});
}

TEST(Utf16ToUtf8, Kept_low_byte_zero_empties_text) {
  EXPECT_EQ(ToUtf8(u"\u0100bc"), Bytes{});
  EXPECT_EQ(ToUtf8(u"\u4E00"), Bytes{});
  EXPECT_EQ(ToUtf8(u"a\u0100"), FromHex("61 c480"));
}

TEST(Utf16ToUtf8, Kept_surrogates_one_by_one) { EXPECT_EQ(ToUtf8(u"\U0001F600"), FromHex("eda0bd edb880")); }

TEST(Utf8ToUtf16, decodes_what_utf16_to_utf8_wrote) {
  for (std::uint32_t unit = 1; unit < 0x10000; ++unit) {
    if ((unit & 0xFF) == 0) continue;
    const std::u16string text(1, static_cast<char16_t>(unit));
    const Bytes encoded = ToUtf8(text);
    const Decoded decoded = FromUtf8(encoded, 8);
    ASSERT_EQ(decoded.text, text);
    ASSERT_EQ(decoded.consumed, encoded.size());
  }
}

TEST(Utf8ToUtf16, does_not_check_continuation_bytes) {
  EXPECT_EQ(FromUtf8(FromHex("c3 41"), 8).text, std::u16string(1, static_cast<char16_t>((3 << 6) + 0x41 - 0x80)));
  // A lead byte at the end takes the terminator along.
  const Decoded past = FromUtf8(FromHex("c3"), 8);
  EXPECT_EQ(past.text, std::u16string(1, static_cast<char16_t>((3 << 6) - 0x80)));
  EXPECT_EQ(past.consumed, 2u);
}

TEST(Utf8ToUtf16, Kept_stray_byte_fills_with_question_marks) {
  for (const char* stray : {"41 80 42", "41 bf", "41 f0 9f 98 80", "41 ff"}) {
    const Decoded decoded = FromUtf8(FromHex(stray), 6);
    EXPECT_EQ(decoded.text, u"A????") << stray;
    EXPECT_EQ(decoded.consumed, 1u) << stray;
  }
}

TEST(Utf8ToUtf16, stops_at_its_destinations_capacity) {
  EXPECT_EQ(FromUtf8(FromText("abcdef"), 4).text, u"abc");
  EXPECT_EQ(FromUtf8(FromText("abcdef"), 4).consumed, 3u);
  EXPECT_EQ(FromUtf8(FromText("abc"), 1).text, u"");
  EXPECT_EQ(FromUtf8(FromText("abc"), 0).consumed, 0u);
}

std::string Base64(const Bytes& source) {
  std::string dest(source.size() * 2 + 16, '#');
  const std::uint32_t length =
      CAgentEngine::Base64EncodeBuf(dest.data(), source.data(), -7, static_cast<std::int32_t>(source.size()));
  EXPECT_EQ(dest[length], '\0');
  EXPECT_EQ(dest[length + 1], '#');
  return dest.substr(0, length);
}

TEST(Base64EncodeBuf, breaks_lines_after_54_bytes_and_after_the_last) {
  EXPECT_EQ(Base64({}), "");
  EXPECT_EQ(Base64({0x4D}), "TQ==\r\n");
  EXPECT_EQ(Base64({0x4D, 0x61}), "TWE=\r\n");
  EXPECT_EQ(Base64({0x4D, 0x61, 0x6E}), "TWFu\r\n");
  EXPECT_EQ(Base64({0xFB, 0xFF, 0xFE}), "+//+\r\n");
  EXPECT_EQ(Base64(Bytes(54, 0)), std::string(72, 'A') + "\r\n");
  EXPECT_EQ(Base64(Bytes(55, 0)), std::string(72, 'A') + "\r\nAA==\r\n");
  char dest[2] = {'#', '#'};
  EXPECT_EQ(CAgentEngine::Base64EncodeBuf(dest, nullptr, 0, -1), 0u);
  EXPECT_EQ(dest[0], '\0');
}

struct TokenCase {
  const char* source;
  std::int32_t pos;
  std::int32_t limit;
  bool tag;
  const char* token;
  std::uint32_t consumed;
};

TEST(GetToken, reads_tags_and_texts_up_to_the_limit) {
  const TokenCase cases[] = {
      {"  <a>x</a>", 0, 10, true, "<a>", 5},
      {"  <a>x</a>", 5, 10, false, "x", 1},
      {"  <a>x</a>", 6, 10, true, "</a>", 4},
      {" \t\r\n", 0, 4, true, "", 4},
      {"<a>", 3, 3, true, "", 0},
      {"<a>", 5, 3, false, "", 0},
      {"<a", 0, 2, true, "<a", 2},
      {">b>", 0, 3, true, ">b>", 3},
      {"x", 0, 1, true, "x", 1},
      {" a b ", 0, 5, false, " a b ", 5},
      {"<<b>", 0, 4, false, "", 0},
      {"<abc>tail", 0, 3, true, "<ab", 3},
  };
  for (const TokenCase& row : cases) {
    SCOPED_TRACE(row.source);
    char dest[16];
    std::fill(std::begin(dest), std::end(dest), '#');
    std::int32_t pos = row.pos;
    EXPECT_EQ(CAgentEngine::GetToken(row.source, dest, pos, row.limit, row.tag), row.consumed);
    EXPECT_STREQ(dest, row.token);
    EXPECT_EQ(dest[std::string(row.token).size() + 1], '#');
    EXPECT_EQ(pos, row.pos + static_cast<std::int32_t>(row.consumed));
  }
}

TEST(XmlHeader, is_written_with_a_line_feed_and_recognised_without) {
  const auto engine = std::make_unique<CAgentEngine>(nullptr, nullptr);
  EXPECT_EQ(engine->MakeXmlHeader(6), 39u);
  const std::string written(reinterpret_cast<const char*>(engine->GetOutBuf()) + 6);
  EXPECT_EQ(written, "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n");
  EXPECT_FALSE(CAgentEngine::CheckXmlHeader(written.c_str()));
  EXPECT_TRUE(CAgentEngine::CheckXmlHeader(written.substr(0, 38).c_str()));
  EXPECT_FALSE(CAgentEngine::CheckXmlHeader(written.substr(0, 37).c_str()));
  EXPECT_EQ(engine->MakeXmlHeader(static_cast<std::int32_t>(wire::kSendBufSize) - 39), 0u);
  EXPECT_EQ(engine->MakeXmlHeader(-1), 0u);
}

}  // namespace
}  // namespace test
