// Contacts between documents of the wire and structs; what the wire cannot carry; pictures in pieces.
#include <algorithm>
#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>

#include "desktop/Base64.h"
#include "desktop/Failure.h"
#include "desktop/contacts/ContactDocument.h"
#include "desktop/contacts/ContactJson.h"
#include "desktop/contacts/PictureChunks.h"
#include "tests/desktop/FullContact.h"
#include "tests/desktop/HostilePicture.h"

namespace brelix {
namespace {

using enum ContactField;

const std::string kXml = "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n";
const std::string kNoDates = "  <Birthday>45010101T000000Z</Birthday>\n  <Anniversary>45010101T000000Z</Anniversary>\n";

Contact ReadEntry(const std::string& inside) {
  return ReadContactDocument(kXml + "<contactentry>\n" + inside + "</contactentry>");
}

TEST(ContactDocument, IsReadAsThePhoneWritesIt) {
  const Contact contact = ReadEntry(
      "  <oid>4294967295</oid>\n  <Birthday>19700501T000000Z</Birthday>\n  "
      "<Anniversary>19990615T123000Z</Anniversary>\n"
      "  <FirstName>A & B < C</FirstName>\n  <LastName></FirstName></LastName>\n"
      "  <NickName>\xED\xA0\xBD\xED\xB8\x80 and \xED\xA0\xBD</NickName>\n  "
      "<HomeTelephoneNumber>1</HomeTelephoneNumber>\n"
      "  <CompanyName></CompanyName>\n  <FileAs>filed</FileAs>\n  <Body>one\r\ntwo</Body>\n"
      "  <Picture>\n/9j/4AAQ\r\nSkY=\r\n  </Picture>\n");
  EXPECT_EQ(contact.oid, 4294967295u);
  EXPECT_EQ(contact[kBirthday], "1970-05-01");
  EXPECT_EQ(contact[kAnniversary], "1999-06-15T12:30:00");
  EXPECT_EQ(contact[kFirstName], "A & B < C");
  EXPECT_EQ(contact[kLastName], "</FirstName>");
  EXPECT_EQ(contact[kNickName], "\xF0\x9F\x98\x80 and \xED\xA0\xBD");
  EXPECT_EQ(contact[kCompanyName], "");
  EXPECT_EQ(contact[kBody], "one\r\ntwo");
  EXPECT_EQ(contact.picture, (Bytes{0xFF, 0xD8, 0xFF, 0xE0, 0x00, 0x10, 0x4A, 0x46}));
  const auto json = ToJsonWithPicture(contact);
  EXPECT_EQ(json["NickName"], "\xF0\x9F\x98\x80 and \xEF\xBF\xBD");
  EXPECT_EQ(json["Picture"], "/9j/4AAQSkY=");
  EXPECT_TRUE(json["CompanyName"].is_null());

  const Contact bare = ReadEntry("  <oid>7</oid>\n" + kNoDates);
  Contact expected;
  expected.oid = 7;
  EXPECT_EQ(bare, expected) << "the year 4501 means no date";
}

TEST(ContactDocument, ThatIsBrokenBreaksTheProtocol) {
  const std::string good = "  <oid>7</oid>\n" + kNoDates;
  const std::string broken[] = {
      "  <oid>x</oid>\n",
      "  <oid>4294967296</oid>\n",
      kNoDates,
      "  <oid>7</oid>\n  <Birthday>19701301T000000Z</Birthday>\n",
      "  <oid>7</oid>\n  <Birthday>19700230T000000Z</Birthday>\n",
      "  <oid>7</oid>\n  <Birthday>19700228</Birthday>\n",
      good + "  <FirstName>a",
      good + "  <Picture>\n/9j\n  </Picture>\n",
      good + "  <Picture>\n/9j/*\n  </Picture>\n",
  };
  for (const std::string& inside : broken) {
    try {
      ReadEntry(inside);
      ADD_FAILURE() << inside;
    } catch (const Failure& failure) {
      EXPECT_EQ(failure.code(), Exit::kProtocol) << inside;
    }
  }
}

TEST(ContactDocument, IsWrittenAsThePhoneReadsIt) {
  Contact contact;
  contact.oid = 7;
  contact[kFirstName] = "caf\xC3\xA9 \xF0\x9F\x98\x80 \xED\xA0\xBD";
  contact[kBirthday] = "1970-05-01";
  contact[kAnniversary] = "1999-06-15T12:30:00";
  contact[kBody] = "one\r\ntwo";
  contact.picture = {1};
  const std::string document =
      "<?xml version=\"1.0\" encoding=\"utf-8\"?><contactentry><Birthday>19700501T000000Z</Birthday>"
      "<Anniversary>19990615T123000Z</Anniversary><FirstName>caf\xC3\xA9 \xED\xA0\xBD\xED\xB8\x80 "
      "\xED\xA0\xBD</FirstName>"
      "<Body>one\r\ntwo</Body></contactentry>";
  EXPECT_EQ(WriteContactDocument(contact, EmptyFileAs::kKeep), document);
  std::string clearing = document;
  clearing.insert(clearing.find("<Body>"), "<FileAs></FileAs>");
  EXPECT_EQ(WriteContactDocument(contact, EmptyFileAs::kClear), clearing);
  contact[kFileAs] = "f";
  EXPECT_NE(WriteContactDocument(contact, EmptyFileAs::kKeep).find("<FileAs>f</FileAs>"), std::string::npos);
}

TEST(ContactDocument, WhatTheWireCannotCarryIsNamed) {
  struct Row {
    std::string text, says;
    bool too_long;
  };
  const std::string face = "\xF0\x9F\x98\x80";  // six bytes on the wire
  std::string faces;
  for (int i = 0; i < 43; i++) faces += face;
  const Row rows[] = {
      {std::string(255, 'x'), "", false},
      {std::string(256, 'x'), "takes 256 bytes of 255", true},
      {faces, "takes 258 bytes of 255", true},
      {"a<b", "holds a \"<\"", false},
      {"aZZZZb", "holds \"ZZZZ\"", false},
      {"ZZZ XXXX &>", "", false},
      {std::string("a\0b", 3), "holds a NUL", false},
      {"\xE4\xB8\x80\xE9\x83\x8E", "begins with the character \xE4\xB8\x80", false},
      {"\xE9\x83\x8E\xE4\xB8\x80", "", false},
      {"\xF0\x90\x80\x80", "begins with the character", false},  // its first half is D800
  };
  for (const Row& row : rows) {
    Contact contact;
    contact[kJobTitle] = row.text;
    const auto obstacles = ObstaclesTo(contact);
    ASSERT_EQ(obstacles.size(), row.says.empty() ? 0u : 1u) << row.text;
    if (row.says.empty()) continue;
    EXPECT_EQ(obstacles[0].what, "JobTitle");
    EXPECT_TRUE(obstacles[0].reason.starts_with(row.says)) << obstacles[0].reason;
    EXPECT_EQ(obstacles[0].too_long, row.too_long);
    EXPECT_EQ(ObstaclesTo(Shortened(contact)).empty(), row.too_long) << row.text;
  }
  Contact contact;
  contact[kJobTitle] = faces;
  EXPECT_EQ(Shortened(contact)[kJobTitle], faces.substr(0, 42 * 4)) << "252 bytes, and no half character";

  for (const char* date : {"1970-02-30", "0099-01-01", "4501-01-01", "yesterday"}) {
    Contact dated;
    dated[kBirthday] = date;
    EXPECT_EQ(ObstaclesTo(dated).size(), 1u) << date;
  }
  Contact large;
  for (size_t i = 2; i < kContactFields; i++) large.fields[i] = std::string(255, 'x');
  large[kBirthday] = large[kAnniversary] = "1970-05-01T12:30:00";
  EXPECT_TRUE(ObstaclesTo(large).empty());
  EXPECT_LE(WriteContactDocument(large, EmptyFileAs::kKeep).size(), 16364u) << "the largest contact fits a request";
}

TEST(Contact, DatesHaveOneFormAndNoZone) {
  const std::pair<const char*, const char*> rows[] = {
      {"1970-05-01", "1970-05-01"},
      {"19700501", "1970-05-01"},
      {"1970-05-01T00:00:00", "1970-05-01"},
      {"19700501T1230", "1970-05-01T12:30:00"},
      {"2000-02-29 01:02:03", "2000-02-29T01:02:03"},
      {"1900-02-29", ""},
      {"1970-0501", ""},
      {"1970-05-01T24:00", ""},
      {"1970-05-01Z", ""},
      {"0099-12-31", ""},
      {"4501-01-01", ""},
      {"", ""},
      {"1970-05", ""},
  };
  for (const auto& [text, date] : rows) EXPECT_EQ(NormalDate(text).value_or(""), date) << text;
}

RC_GTEST_PROP(Base64, GivesBackWhatItWasGiven, (const Bytes& bytes)) {
  RC_ASSERT(FromBase64(ToBase64(bytes)) == bytes);
}

// What an agent makes of the bytes of a connection: it cuts at the first end mark and knows nothing of lengths.
std::vector<Bytes> CutAsAnAgentDoes(Bytes held) {
  const auto find = [&](const char* mark, size_t from) {
    const auto at =
        std::search(held.begin() + static_cast<ptrdiff_t>(std::min(from, held.size())), held.end(), mark, mark + 4);
    return static_cast<size_t>(at - held.begin());
  };
  std::vector<Bytes> frames;
  for (;;) {
    size_t start = find("XXXX", 0);
    while (start + 5 <= held.size() && find("XXXX", start + 1) == start + 1) start++;
    held.erase(held.begin(), held.begin() + static_cast<ptrdiff_t>(start));
    const size_t end = find("ZZZZ", 4);
    if (held.size() < 16 || end == held.size()) return frames;
    frames.emplace_back(held.begin(), held.begin() + static_cast<ptrdiff_t>(end) + 4);
    held.erase(held.begin(), held.begin() + static_cast<ptrdiff_t>(end) + 4);
  }
}

RC_GTEST_PROP(PictureChunks, NoPictureSmugglesOrEndsARequest, ()) {
  const Bytes picture = *test::HostilePicture();
  PacketNumbers numbers(*rc::gen::arbitrary<uint16_t>());
  Bytes stream, whole;
  std::vector<Bytes> sent;
  for (const ByteView chunk : PictureChunks(picture)) {
    RC_ASSERT(!chunk.empty());
    sent.push_back(BuildRequest(3, 15, chunk, numbers.Next()));
    stream.insert(stream.end(), sent.back().begin(), sent.back().end());
    whole.insert(whole.end(), chunk.begin(), chunk.end());
  }
  RC_ASSERT(whole == picture);
  RC_ASSERT(CutAsAnAgentDoes(stream) == sent);
}

TEST(PictureChunks, ALengthThatLooksLikeTheMarkDoesNotCompleteIt) {
  Bytes picture(0x5A, 'j');
  std::fill_n(picture.begin(), 3, 'Z');
  for (const ByteView chunk : PictureChunks(picture)) EXPECT_NO_THROW(BuildRequest(3, 15, chunk, 0xF000));
  EXPECT_EQ(PictureChunks(Bytes(524288, 'j')).size(), 35u);
  EXPECT_EQ(PictureChunks(Bytes(300, 'Z')).size(), 100u);
  EXPECT_TRUE(PictureChunks({}).empty());
}

}  // namespace
}  // namespace brelix
