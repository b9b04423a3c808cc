#include <gtest/gtest.h>

#include "desktop/Client.h"
#include "desktop/Document.h"
#include "desktop/Failure.h"
#include "desktop/Text.h"

namespace brelix {
namespace {

using Texts = std::map<std::string, std::string>;
constexpr std::string_view kNames[] = {"one", "two", "three"};

Texts ReadTexts(const std::string& text) {
  const Document document(text, "root", kNames);
  Texts out;
  for (const auto name : kNames)
    if (const auto raw = document.Raw(name)) out[std::string(name)] = *raw;
  return out;
}

TEST(Document, KeepsTextsThatLookLikeMarkup) {
  struct Row {
    std::string body;
    Texts texts;
  };
  const Row rows[] = {
      {"\n  <one>a</one>\n  <two>b</two>\n  <three>c</three>\n", {{"one", "a"}, {"two", "b"}, {"three", "c"}}},
      {"", {}},
      {"\n  <two></two>\n", {{"two", ""}}},
      {"<one>a < b && c > d</one><three><b></three>", {{"one", "a < b && c > d"}, {"three", "<b>"}}},
      {"<one>x</one>y</one>\n  <two>z</two>", {{"one", "x</one>y"}, {"two", "z"}}},
      {"<one></one></one>\n<three></three></three>", {{"one", "</one>"}, {"three", "</three>"}}},
      {"<one><two>fake</two></one>\n<two>real</two>", {{"one", "<two>fake</two>"}, {"two", "real"}}},
      {"<one></root></one><two></permanentinfo></two>", {{"one", "</root>"}, {"two", "</permanentinfo>"}}},
      {"<one>a</one><new>?</new><two>b</two>", {{"one", "a"}, {"two", "b"}}},
      {"<two>b</two><one>late</one>", {{"two", "b"}}},
      {" <one> spaces \n kept </one> ", {{"one", " spaces \n kept "}}},
  };
  for (const Row& row : rows) {
    EXPECT_EQ(ReadTexts("<?xml?>\n<root>" + row.body + "</root>\n"), row.texts) << row.body;
  }
}

TEST(Document, WithoutWholeRootOrElementBreaksTheProtocol) {
  for (const char* text : {"", "<root>", "</root><root>", "<root></rooot>", "<root><one>a</root>", "\xFF\xFE"}) {
    try {
      ReadTexts(text);
      ADD_FAILURE() << text;
    } catch (const Failure& failure) {
      EXPECT_EQ(failure.code(), Exit::kProtocol) << text;
    }
  }
}

TEST(Text, FromThePhoneBecomesProperUtf8) {
  struct Row {
    std::string wire, utf8;
  };
  const std::string bad = "\xEF\xBF\xBD";
  const Row rows[] = {
      {"caf\xC3\xA9 \xE2\x82\xAC", "caf\xC3\xA9 \xE2\x82\xAC"},
      {"\xED\xA0\xBD\xED\xB8\x80!", "\xF0\x9F\x98\x80!"},  // two surrogates, one character
      {"\xF0\x9F\x98\x80", "\xF0\x9F\x98\x80"},
      {"\xED\xA0\xBDx", bad + "x"},
      {"\xED\xB8\x80\xED\xA0\xBD", bad + bad},
      {"\xED\xA0\xBD\xED\xA0\xBD\xED\xB8\x80", bad + "\xF0\x9F\x98\x80"},
      {"\xC0\x80\xE0\x80\x80", bad + bad + bad + bad + bad},
      {"a\x80\xFF", "a" + bad + bad},
      {"\xE2\x82", bad + bad},
  };
  for (const Row& row : rows) EXPECT_EQ(CleanUtf8(row.wire), row.utf8) << Hex(row.wire);
  EXPECT_EQ(Latin1ToUtf8("35\xE9"), "35\xC3\xA9");
  EXPECT_EQ(Printable("a\033[31m\xC2\x9B\n\xC3\xA9"), "a\u241B[31m\uFFFD\u240A\xC3\xA9");
}

TEST(Text, GoesToThePhoneAsItReadsIt) {
  EXPECT_EQ(ToWireText("caf\xC3\xA9 \xF0\x9F\x98\x80!"), "caf\xC3\xA9 \xED\xA0\xBD\xED\xB8\x80!");
  EXPECT_EQ(ToWireText("\xEF\xBF\xBD"), "\xEF\xBF\xBD");
  for (const std::string_view bad : {std::string_view("a\0b", 3), std::string_view("a\xFF"), std::string_view("\xC3"),
                                     std::string_view("\xED\xA0\xBD\xED\xB8\x80")})
    EXPECT_FALSE(ToWireText(bad)) << Hex(bad);
}

TEST(Timestamp, IsReadOnlyInItsOneForm) {
  const auto time = ParseTimestamp("20090712T134501Z");
  ASSERT_TRUE(time);
  EXPECT_EQ(time->year, 2009);
  EXPECT_EQ(time->month, 7);
  EXPECT_EQ(time->day, 12);
  EXPECT_EQ(time->hour, 13);
  EXPECT_EQ(time->minute, 45);
  EXPECT_EQ(time->second, 1);
  for (const char* text : {"", "20090712T134501", "20090712 134501Z", "20091312T134501Z", "20090700T134501Z",
                           "20090712T244501Z", "20090712T1345 1Z", "-0090712T134501Z"})
    EXPECT_FALSE(ParseTimestamp(text)) << text;
}

}  // namespace
}  // namespace brelix
