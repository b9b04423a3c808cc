// The phone's documents about files, its paths, and the names its files get here.
#include <gtest/gtest.h>
#include <random>

#include "desktop/files/Listing.h"
#include "desktop/files/LocalName.h"
#include "desktop/files/PhonePath.h"
#include "tests/desktop/FileScripts.h"

namespace brelix::test {
namespace {

template <typename Act>
Exit CodeOf(Act act) {
  try {
    act();
  } catch (const Failure& failure) {
    return failure.code();
  }
  return Exit::kOk;
}

TEST(Listing, ReadsEntriesWhateverTheirNamesLookLike) {
  const std::string entries = EntryXml("a</name>b", "5", "AR") + EntryXml("<size>", "", "DHS") + EntryXml("", "0", "") +
                              EntryXml("n", "x", "A", "20090231T000000Z");
  for (const bool last : {true, false}) {
    const auto read = ParseFolderPart(FolderXml("\\x<y>\\", entries, last));
    ASSERT_EQ(read.size(), 4u);
    EXPECT_EQ(read[0], (FileEntry{"a</name>b", 1247406301, "AR", 5}));
    EXPECT_EQ(read[1], (FileEntry{"<size>", 1247406301, "DHS", std::nullopt}));
    EXPECT_TRUE(read[1].IsFolder());
    EXPECT_EQ(read[2].name, "");
    EXPECT_EQ(read[3], (FileEntry{"n", std::nullopt, "A", std::nullopt})) << "neither a day nor a number";
  }
}

TEST(Listing, MendsSizesThatCameOutNegative) {
  const struct {
    const char* text;
    std::optional<uint32_t> size;
  } rows[] = {{"2147483647", 2147483647u}, {"-2147483648", 2147483648u}, {"-1", 4294967295u},
              {"2147483648", {}},          {"-2147483649", {}},          {"12 ", {}},
              {"99999999999999999999", {}}};
  for (const auto& row : rows)
    EXPECT_EQ(ParseFileInfo(kFileXml + "<fileinfo>\n" + EntryXml("f", row.text) + "</fileinfo>\n").size, row.size)
        << row.text;
}

TEST(Listing, OfAnotherShapeBreaksTheProtocol) {
  const std::string whole = FolderXml("\\", EntryXml("a", "1"));
  for (const char* cut : {"<folder>", "<name>", "</modified>", "<attr>", "</folder>"}) {
    std::string text = whole;
    text.erase(text.rfind(cut), std::string(cut).size());
    EXPECT_EQ(CodeOf([&] { ParseFolderPart(text); }), Exit::kProtocol) << cut;
  }
  EXPECT_EQ(CodeOf([&] { ParseFolderPart(whole + "more"); }), Exit::kProtocol);
  EXPECT_EQ(CodeOf([&] { ParseFileInfo(whole); }), Exit::kProtocol);
  EXPECT_EQ(CodeOf([&] { ParseFileInfo(""); }), Exit::kProtocol);
}

TEST(PhonePath, IsTheSameHoweverPeopleWriteIt) {
  for (const char* text :
       {"\\My Documents\\a.txt", "/My Documents/a.txt", "My Documents/a.txt", "//My Documents\\a.txt/"})
    EXPECT_EQ(PhonePath::Parse(text).Wire(), "\\My Documents\\a.txt") << text;
  const PhonePath path = PhonePath::Parse("/\xF0\x9F\x98\x80/x");
  EXPECT_EQ(path.Wire(), "\\\xED\xA0\xBD\xED\xB8\x80\\x");
  EXPECT_EQ(path.ForPeople(), "\\\xF0\x9F\x98\x80\\x");
  EXPECT_EQ(path.Folder().EverythingIn(), "\\\xED\xA0\xBD\xED\xB8\x80\\*");
  EXPECT_EQ(PhonePath::Parse("/").Wire(), "\\");
  EXPECT_EQ(PhonePath::Parse("\\").EverythingIn(), "\\*");
}

TEST(PhonePath, ThatNoPhoneHasOrThatWouldBeCutIsNotAsked) {
  using namespace std::string_view_literals;
  for (const std::string_view text : {""sv, ".."sv, "/a/../b"sv, "\\a\\.\\b"sv, "a\0b"sv, "a\xFF"sv})
    EXPECT_EQ(CodeOf([&] { PhonePath::Parse(text); }), Exit::kUsage) << text;
  for (const std::string_view name : {""sv, "."sv, ".."sv, "a/b"sv, "a\\b"sv, "..\\"sv, "a\0"sv, "*"sv, "a\x80"sv})
    EXPECT_FALSE(IsName(name)) << name;
  EXPECT_TRUE(IsName("..a")) << "dots alone are no way up";
  EXPECT_TRUE(IsName("\xED\xA0\xBD")) << "half a pair is a name";
  EXPECT_EQ(CodeOf([] { RequestFor("\\a\\ZZZZ.txt"); }), Exit::kWouldLoseData);
  EXPECT_EQ(CodeOf([] { RequestFor(std::string(16369, 'a')); }), Exit::kWouldLoseData);
}

// The phone's name from the path that it has here, as the documentation says.
std::u16string Back(const std::string& local) {
  std::string joined;
  for (size_t at = 0; at <= local.size();) {
    const size_t end = std::min(local.find('/', at), local.size());
    const std::string piece = local.substr(at + (at > 0 ? 2 : 0), end - at - (at > 0 ? 2 : 0));
    joined += end < local.size() ? piece.substr(0, piece.size() - 2) : piece;
    at = end + 1;
  }
  std::u16string units;
  const std::u16string text = WireUnits(SplitSurrogates(joined)).value();
  for (size_t at = 0; at < text.size(); at++) {
    const auto digits = text.substr(std::min(at + 2, text.size()), 4);
    const bool escape = text.compare(at, 2, u"%u") == 0 && digits.size() == 4 &&
                        digits.find_first_not_of(u"0123456789ABCDEFabcdef") == digits.npos;
    if (!escape) {
      units += text[at];
      continue;
    }
    units += static_cast<char16_t>(std::stoi(std::string(digits.begin(), digits.end()), nullptr, 16));
    at += 5;
  }
  return units;
}

std::string Wire(std::u16string_view units) {
  std::string out;
  for (const char16_t c : units) {
    if (c < 0x80) out += static_cast<char>(c);
    if (c >= 0x80 && c < 0x800) out += {static_cast<char>(0xC0 | c >> 6), static_cast<char>(0x80 | (c & 0x3F))};
    if (c >= 0x800)
      out += {static_cast<char>(0xE0 | c >> 12), static_cast<char>(0x80 | (c >> 6 & 0x3F)),
              static_cast<char>(0x80 | (c & 0x3F))};
  }
  return out;
}

TEST(LocalName, StaysUnlessThisSystemCannotHoldIt) {
  const struct {
    std::u16string name;
    std::string local;
  } rows[] = {
      {u"100%.txt", "100%.txt"},
      {u"\xE9\x20AC\xD83D\xDE00", "\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80"},
      {u"a\xD83D.jpg", "a%uD83D.jpg"},
      {u"\xDE00\xD83D", "%uDE00%uD83D"},
      {u"%uD83D", "%u0025uD83D"},
      {u"x%+", "x%u0025+"},
      {u"+%x", "%u002B%x"},
      {u".brelix-part-1", "%u002Ebrelix-part-1"},
      {std::u16string(255, u'a'), std::string(255, 'a')},
  };
  for (const auto& row : rows) {
    EXPECT_EQ(LocalName(Wire(row.name)), row.local);
    EXPECT_EQ(Back(row.local), row.name) << row.local;
  }
  const std::u16string cyrillic(255, u'\x416');
  const std::string split = LocalName(Wire(cyrillic));
  EXPECT_EQ(split.find("%+/+%"), 252u) << split;
  EXPECT_EQ(Back(split), cyrillic);
}

TEST(LocalName, IsReversibleHarmlessAndShortForAnyName) {
  std::mt19937 random(11);
  const char16_t units[] = {u'a', u'%', u'u', u'+', u'.', u'0', u'D', 0x416, 0x4E00, 0xD83D, 0xDE00, u'~'};
  std::map<std::string, std::u16string> seen;
  for (int round = 0; round < 4000; round++) {
    std::u16string name = round % 3 == 0 ? u".brelix-part-" : u"";
    const size_t length = round % 5 == 0 ? 200 + random() % 60 : 1 + random() % 8;
    while (name.size() < length) name += units[random() % std::size(units)];
    if (!IsName(Wire(name))) continue;
    const std::string local = LocalName(Wire(name));
    ASSERT_EQ(Back(local), name) << local;
    ASSERT_TRUE(seen.emplace(local, name).first->second == name) << "two names, one file: " << local;
    ASSERT_TRUE(IsUtf8(local));
    ASSERT_FALSE(local.starts_with(kPartPrefix));
    for (size_t at = 0, end; at <= local.size(); at = end + 1) {
      end = std::min(local.find('/', at), local.size());
      const std::string piece = local.substr(at, end - at);
      ASSERT_TRUE(!piece.empty() && piece != "." && piece != ".." && piece.size() <= 255) << local;
    }
  }
}

}  // namespace
}  // namespace brelix::test
