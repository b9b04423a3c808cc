// brelix contacts against phones that do what no real agent does; tests/e2e has the real one.
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "tests/desktop/RunBrelix.h"
#include "tests/desktop/ScriptedPhone.h"

namespace brelix::test {
namespace {

const std::string kXml = "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n<contactentry>\n";
const std::string kNoDates = "  <Birthday>45010101T000000Z</Birthday>\n  <Anniversary>45010101T000000Z</Anniversary>\n";

std::string Entry(int oid, const std::string& fields) {
  return kXml + "  <oid>" + std::to_string(oid) + "</oid>\n" + kNoDates + fields + "</contactentry>";
}

std::string Sent(const std::string& fields) {
  return "<?xml version=\"1.0\" encoding=\"utf-8\"?><contactentry>" + fields + "</contactentry>";
}

const std::map<std::string, std::string> kDocuments = {
    {"ada", Entry(7, "  <FirstName>Ada</FirstName>\n  <JobTitle>Baker</JobTitle>\n  <FileAs>Ada</FileAs>\n")},
    {"engineer", Entry(7, "  <FirstName>Ada</FirstName>\n  <JobTitle>Engineer</JobTitle>\n  <FileAs>Ada</FileAs>\n")},
    {"bob", Entry(9, "  <FirstName>Bob</FirstName>\n  <Picture>\n/9j/\r\n  </Picture>\n")},
    {"broken", Entry(8, "  <FirstName>B").substr(0, 120)},
    {"sent", Sent("<FirstName>Ada</FirstName><JobTitle>Engineer</JobTitle><FileAs>Ada</FileAs>")},
    {"long", Entry(7, "  <FirstName>Ada</FirstName>\n  <Body>" + std::string(300, 'x') + "</Body>\n")},
    {"cut", Sent("<FirstName>Eve</FirstName><Body>" + std::string(255, 'x') + "</Body>")},
    {"eve", Entry(7, "  <FirstName>Eve</FirstName>\n  <Body>" + std::string(255, 'x') + "</Body>\n")},
    {"carol", Entry(11, "  <FirstName>Carol</FirstName>\n  <FileAs>Carol</FileAs>\n")},
    {"newcarol", Sent("<FirstName>Carol</FirstName>")},
};

// The collection is opened and counted; what follows is about two contacts, 7 and 9.
const std::string kOpen = kBegin + "expect 3/1\nreply 3/2 00000000\n";
const std::string kCount = "expect 3/5\nreply 3/6 00000000 00000002\n";
const std::string kLeave = "expect 3/3\nreply 3/4 00000000\n";
const std::string kSeven = kOpen + kCount + "expect 3/9 00000001\nreply 3/10 00000000 $ada\n";

// One by one, so that the script can say what is done after which answer.
Outcome Serve(const std::string& script, std::vector<std::string> arguments) {
  ScriptedPhone phone(script, kDocuments);
  arguments.insert(arguments.begin(), {"-d", phone.Address(), "--window", "1", "contacts"});
  const Outcome outcome = RunBrelix(arguments);
  EXPECT_EQ(phone.Finish(), "") << arguments[5] << ": " << outcome.err;
  return outcome;
}

bool Has(const std::string& text, const std::string& part) { return text.find(part) != text.npos; }

std::string WriteFile(const std::string& text) {
  const std::string path = FreshPath();
  std::ofstream(path, std::ios::binary) << text;
  return path;
}

TEST(ContactCommand, ABadContactDoesNotStopAListAndAnExport) {
  const std::string script = kOpen + kCount + "expect 3/9 00000001\nreply 3/10 00000000 $broken\n" +
                             "expect 3/9 00000002\nreply 3/10 00000000 $bob\n" + kLeave + kEnd;
  const Outcome list = Serve(script, {"--json", "list"});
  EXPECT_EQ(list.code, 11);
  const auto bob = nlohmann::json::parse(list.out);
  EXPECT_EQ(bob["oid"], 9);
  EXPECT_EQ(bob["picture_bytes"], 3);
  EXPECT_TRUE(Has(list.err, "the contact at position 1 cannot be read")) << list.err;

  const std::string path = FreshPath();
  EXPECT_EQ(Serve(script, {"export", "--vcard", path}).code, 11);
  EXPECT_TRUE(Has(ReadFile(path), "FN:Bob\r\n")) << ReadFile(path);
}

TEST(ContactCommand, AnExportThatBreaksOffLeavesTheOldFile) {
  const std::string path = WriteFile("old");
  const std::string script = kOpen + kCount + "expect 3/9 00000001\nreply 3/10 00000000 $ada\nexpect 3/9 00000002\n";
  EXPECT_EQ(Serve(script, {"export", "--vcard", path}).code, 6);
  EXPECT_EQ(ReadFile(path), "old");
}

TEST(ContactCommand, AnOpenCollectionIsClosedAndOpenedAnew) {
  const Outcome list = Serve(kBegin + "expect 3/1\nreply 3/2 ffffffff\nexpect 3/3\nreply 3/4 00000001\n" +
                                 "expect 3/3\nreply 3/4 00000000\nexpect 3/1\nreply 3/2 00000000\n" +
                                 "expect 3/5\nreply 3/6 00000000 00000000\n" + kLeave + kEnd,
                             {"list"});
  EXPECT_EQ(list.code, 0) << list.err;
  EXPECT_EQ(list.out, "");
}

TEST(ContactCommand, SetWritesTheWholeContactAndComparesWhatItReadsBack) {
  const std::string write = "expect 3/13 00000007 $sent\nreply 3/14 00000000 00000007\n";
  const std::string end = kLeave + kEnd;
  const Outcome good = Serve(kSeven + write + "expect 3/9 00000001\nreply 3/10 00000000 $engineer\n" + end,
                             {"--json", "set", "7", "--JobTitle", "Engineer"});
  EXPECT_EQ(good.code, 0) << good.err;
  EXPECT_EQ(nlohmann::json::parse(good.out),
            (nlohmann::json{{"field", "JobTitle"}, {"before", "Baker"}, {"after", "Engineer"}}));

  const Outcome kept = Serve(kSeven + write + "expect 3/9 00000001\nreply 3/10 00000000 $ada\n" + end,
                             {"set", "7", "--JobTitle", "Engineer"});
  EXPECT_EQ(kept.code, 11);
  EXPECT_TRUE(Has(kept.err, "JobTitle is \"Baker\" instead of \"Engineer\"")) << kept.err;

  EXPECT_EQ(
      Serve(kSeven + "expect 3/13 00000007 $sent\nreply 3/14 80070005\n" + end, {"set", "7", "--JobTitle", "Engineer"})
          .code,
      8);
  EXPECT_EQ(Serve(kSeven + end, {"set", "7", "--JobTitle", "Engineer", "-n"}).code, 0) << "nothing is sent";
  EXPECT_EQ(Serve(kSeven + end, {"--read-only", "set", "7", "--JobTitle", "Engineer"}).code, 2);
  EXPECT_EQ(Serve(kSeven + end, {"set", "7", "--FirstName", "Ada"}).code, 0) << "nothing to change";
}

TEST(ContactCommand, WhatTheWireCannotCarryIsRefusedBeforeAnythingIsSent) {
  const std::string long_one = kOpen + kCount + "expect 3/9 00000001\nreply 3/10 00000000 $long\n";
  const Outcome refused = Serve(long_one + kLeave + kEnd, {"set", "7", "--FirstName", "Eve"});
  EXPECT_EQ(refused.code, 10);
  EXPECT_TRUE(Has(refused.err, "Body takes 300 bytes of 255")) << refused.err;
  const Outcome cut = Serve(long_one + "expect 3/13 00000007 $cut\nreply 3/14 00000000 00000007\n" +
                                "expect 3/9 00000001\nreply 3/10 00000000 $eve\n" + kLeave + kEnd,
                            {"set", "7", "--FirstName", "Eve", "--allow-loss"});
  EXPECT_EQ(cut.code, 0) << cut.err;
  for (const char* text : {"a<b", "aZZZZ", "\xE4\xB8\x80"})
    EXPECT_EQ(Serve(kSeven + kLeave + kEnd, {"set", "7", "--JobTitle", text, "--allow-loss"}).code, 10) << text;
  for (const auto& arguments : std::vector<std::vector<std::string>>{{"set", "7"},
                                                                     {"set", "7", "--Birthday", "soon"},
                                                                     {"set", "7", "--Shoes", "42"},
                                                                     {"set", "7", "--JobTitle", "\xFF"},
                                                                     {"set", "x", "--JobTitle", "y"},
                                                                     {"photo", "7"}}) {
    std::vector<std::string> all = {"-d", "tcp:127.0.0.1:1", "contacts"};
    all.insert(all.end(), arguments.begin(), arguments.end());
    EXPECT_EQ(RunBrelix(all).code, 2) << arguments.back();
  }
}

TEST(ContactCommand, RemoveFirstMakesSureThatItIsAContact) {
  const std::string walk = kOpen + kCount + kCount + "expect 3/9 00000001\nreply 3/10 00000000 $ada\n";
  const std::string rest = "expect 3/9 00000002\nreply 3/10 00000000 $bob\n";
  const std::string again = kLeave + "expect 3/1\nreply 3/2 00000000\nexpect 3/5\nreply 3/6 00000000 0000000";
  const Outcome gone =
      Serve(walk + "expect 3/11 00000007\nreply 3/12 00000000\n" + again + "1\n" + kLeave + kEnd, {"rm", "7"});
  EXPECT_EQ(gone.code, 0) << gone.err;
  const Outcome still =
      Serve(walk + "expect 3/11 00000007\nreply 3/12 00000000\n" + again + "2\n" + kLeave + kEnd, {"rm", "7"});
  EXPECT_EQ(still.code, 11) << "the phone says success and does nothing";
  const Outcome none = Serve(
      kOpen + kCount + kCount + "expect 3/9 00000001\nreply 3/10 00000000 $ada\n" + rest + kLeave + kEnd, {"rm", "5"});
  EXPECT_EQ(none.code, 8);
  EXPECT_TRUE(Has(none.err, "no contact with object id 5")) << none.err;
}

TEST(ContactCommand, PutMakesAContactOfEachCardThatCanBeWritten) {
  const std::string path = WriteFile(
      "BEGIN:VCARD\nVERSION:3.0\nN:a<b\nEND:VCARD\nBEGIN:VCARD\nVERSION:3.0\nN:;Carol\nX-SHOES:42\nEND:VCARD\n");
  const Outcome put = Serve(kOpen + kCount + "expect 3/13 00000000 $newcarol\nreply 3/14 00000000 0000000b\n" +
                                "expect 3/9 00000003\nreply 3/10 00000000 $carol\n" + kLeave + kEnd,
                            {"put", path});
  EXPECT_EQ(put.code, 11);
  EXPECT_TRUE(Has(put.err, "card 1: not taken: LastName holds a \"<\"")) << put.err;
  EXPECT_TRUE(Has(put.err, "card 2 (line 5): line 8: X-SHOES has no field left")) << put.err;

  const std::string long_one = WriteFile("BEGIN:VCARD\nN:x\nNOTE:" + std::string(300, 'x') + "\nEND:VCARD\n");
  EXPECT_EQ(RunBrelix({"contacts", "put", "-n", long_one}).code, 10);
  const Outcome cut = RunBrelix({"contacts", "put", "-n", "--allow-loss", long_one});
  EXPECT_EQ(cut.code, 0);
  EXPECT_TRUE(Has(cut.err, "card 1: Body is cut from 300 to 255 bytes")) << cut.err;

  const Outcome dry = RunBrelix({"contacts", "put", "-n", path});
  EXPECT_EQ(dry.code, 11) << dry.err;
  EXPECT_TRUE(Has(dry.out, "Carol")) << dry.out;
}

TEST(ContactCommand, AFileThatIsNoVCardIsRefusedBeforeAPhoneIsBothered) {
  const std::string good = "BEGIN:VCARD\nVERSION:3.0\nN:a\nEND:VCARD\n";
  const std::pair<std::string, std::string> rows[] = {
      {std::string("\0\1\2", 3), ":1: this is no vCard file"},
      {"", "holds no vCard"},
      {good + "BEGIN:VCARD\nPHOTO;ENCODING=b:/9j/\n 4AAQ\n",
       ":7: the file ends inside the card that begins on line 5, in its PHOTO"},
  };
  for (const auto& [text, says] : rows) {
    const Outcome put = RunBrelix({"-d", "tcp:127.0.0.1:1", "contacts", "put", WriteFile(text)});
    EXPECT_EQ(put.code, 3) << says;
    EXPECT_TRUE(Has(put.err, says)) << put.err;
  }
  const std::string huge = WriteFile(good);
  std::filesystem::resize_file(huge, 1 << 30);
  const Outcome put = RunBrelix({"-d", "tcp:127.0.0.1:1", "contacts", "put", huge});
  EXPECT_EQ(put.code, 3);
  EXPECT_TRUE(Has(put.err, "the file has 1.0 GiB, more than the 512.0 MiB")) << put.err;
  std::filesystem::remove(huge);
}

}  // namespace
}  // namespace brelix::test
