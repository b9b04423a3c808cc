// Mail folders: what other programs wrote into them, and what other programs read of ours.
#include <fstream>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <sstream>
#include <unistd.h>

#include "desktop/Failure.h"
#include "desktop/mbox/MboxReader.h"
#include "desktop/mbox/MboxWriter.h"
#include "tests/support/Process.h"

namespace brelix {
namespace {

std::vector<Letter> ReadAll(const std::string& text) {
  std::istringstream file(text);
  MboxReader reader(file, "box");
  std::vector<Letter> letters;
  while (auto letter = reader.Next()) letters.push_back(*letter);
  return letters;
}

std::string Words(const Letter& letter) {
  const auto person = [](const Mailbox& m) { return m.name.value_or("-") + "<" + m.address.value_or("-") + ">"; };
  std::string words = letter.from ? person(*letter.from) : "-";
  for (const Mailbox& to : letter.to) words += "|" + person(to);
  words += "|" + letter.subject.value_or("-") + "|";
  words += letter.date ? std::to_string(letter.date->time_since_epoch().count()) : "-";
  return words + (letter.outgoing ? *letter.outgoing ? "|out" : "|in" : "");
}

const std::string kFrom = "From x Thu Jul  9 12:00:00 2009\n";

TEST(MboxReader, ReadsHeadersAsTheyAreFound) {
  struct Row {
    std::string headers, words;
  };
  const Row rows[] = {
      {"", "-|-|-"},
      {"From: Jan <jan@example.org>\nTo: a@example.org,\n\t\"B, C\" <b@example.org>\nCc: d@example.org\nSubject: Hi\n"
       "Date: Sun, 12 Jul 2009 15:45:01 +0200\n",
       "Jan<jan@example.org>|-<a@example.org>|B, C<b@example.org>|-<d@example.org>|Hi|1247406301"},
      {"FROM: =?iso-8859-1?Q?Andr=E9?= <a@example.org>\nsubject: =?utf-8?B?8J+YgA==?=\n =?utf-8?Q?_x?=\n",
       "Andr\xC3\xA9<a@example.org>|\xF0\x9F\x98\x80 x|-"},
      {"To: Friends: a@example.org, b@example.org;, c@example.org\n",
       "-|-<a@example.org>|-<b@example.org>|-<c@example.org>|-|-"},
      {"Subject: caf\xE9\nDate: tomorrow\n", "-|caf\xC3\xA9|-"},
      {"From: owner@phone.invalid\nTo: \"J\" <+4201@phone.invalid>\nX-Direction: outgoing\n", "-<->|J<+4201>|-|-|out"},
      {">From someone else\nSubject: a\r\nX-Long: " + std::string(3000000, 'x') + "\nDate: 12 Jul 2009 13:45 GMT\n",
       "-|a|1247406300"},
  };
  for (const Row& row : rows) {
    const auto letters = ReadAll(kFrom + row.headers + "\nFrom here on it is text\n\nFrom our friends\n>From x\n");
    ASSERT_EQ(letters.size(), 1u) << row.headers.substr(0, 100);
    EXPECT_EQ(Words(letters[0]), row.words);
  }
  EXPECT_TRUE(ReadAll("").empty());
  EXPECT_EQ(ReadAll(kFrom + "Subject: 1\n\ntext\n\n" + kFrom + "Subject: 2\n" + kFrom).size(), 3u);
  EXPECT_EQ(ReadAll(kFrom + "Subject: cut off").at(0).subject, "cut off");
}

TEST(MboxReader, BrokenFileIsOneComplaintWithItsLine) {
  std::string endless;
  for (int i = 0; i < 100; i++) endless += " " + std::string(50000, 'x') + "\n";
  struct Row {
    std::string text, where;
  };
  const Row rows[] = {
      {"Subject: no mbox\n", "box:1: "},
      {"\n\nPK\x03\x04", "box:3: "},
      {kFrom + "Subject: x\nno header\n", "box:3: "},
      {kFrom + " continued\n", "box:2: "},
      {kFrom + "\ntext\n\n" + kFrom + "Subject : x\nTwo words: x\n", "box:7: "},
      {kFrom + "To: x\n" + endless, "box:23: "},
  };
  for (const Row& row : rows) {
    try {
      ReadAll(row.text);
      ADD_FAILURE() << row.where;
    } catch (const Failure& failure) {
      EXPECT_EQ(failure.code(), Exit::kLocalFile);
      EXPECT_TRUE(std::string(failure.what()).starts_with(row.where)) << failure.what();
    }
  }
}

Letter Sample(int which) {
  using std::chrono::seconds;
  const std::string face = "\xF0\x9F\x98\x80";
  std::string long_text;
  for (int i = 0; i < 60; i++) long_text += face + "\xC3\xA9";
  switch (which) {
    case 0:
      return {Mailbox{"Jan \"J\" Nov\xC3\xA1k", "jan@example.org"},
              {},
              "Ahoj \xC3\xA9\nX-Evil: 1",
              std::chrono::sys_seconds(seconds(1247406301)),
              false};
    case 1:
      return {Mailbox{{}, "owner"},
              {{"A, B", "+420 1"}, {"C", {}}, {{}, {}}, {{}, "\xC3\xA9"}},
              "From me =?utf-8?Q?x?=",
              {},
              true};
    default:
      return {Mailbox{{}, "\"Jan\" <+4201>"}, {}, long_text, std::chrono::sys_seconds(seconds(0)), false};
  }
}

TEST(MboxWriter, IsReadAsMeantByOthers) {
  constexpr const char* kScript = R"(
import email, email.policy, json, mailbox, sys
box = mailbox.mbox(sys.argv[1], factory=lambda f: email.message_from_binary_file(f, policy=email.policy.default))
for m in box:
    people = lambda n: [[a.display_name, a.addr_spec] for a in m[n].addresses] if m[n] else []
    print(json.dumps({"from": people("From"), "to": people("To"), "subject": m["Subject"], "body": m["X-Body"],
        "date": int(m["Date"].datetime.timestamp()) if m["Date"] else None, "evil": m["X-Evil"],
        "defects": len(m.defects) + sum(len(h.defects) for h in m.values()), "text": m.get_content()}))
)";
  const std::string path = test::FreshPath();
  const HeaderField more[] = {{"X-Body", "not available over this protocol"}};
  std::string longest;
  {
    std::ofstream file(path);
    for (int i = 0; i < 3; i++) {
      const std::string mail = WriteLetter(Sample(i), more, i == 0 ? "" : "a\nFrom b\n>From c\n");
      std::istringstream lines(mail);
      for (std::string line; std::getline(lines, line);)
        if (line.size() > longest.size()) longest = line;
      file << mail;
    }
  }
  EXPECT_LE(longest.size(), 78u) << longest;
  const test::Outcome outcome = test::Run({"/usr/bin/env", "python3", "-c", kScript, path});
  unlink(path.c_str());
  ASSERT_EQ(outcome.code, 0) << outcome.err;
  std::vector<nlohmann::json> mails;
  std::istringstream lines(outcome.out);
  for (std::string line; std::getline(lines, line);) mails.push_back(nlohmann::json::parse(line));
  ASSERT_EQ(mails.size(), 3u) << outcome.out;

  for (const auto& mail : mails) {
    EXPECT_EQ(mail["body"], "not available over this protocol");
    EXPECT_EQ(mail["evil"], nullptr);
    EXPECT_EQ(mail["defects"], 0) << mail;
  }
  using Json = nlohmann::json;
  EXPECT_EQ(mails[0]["from"], Json::parse(R"([["Jan \"J\" Nov\u00E1k", "jan@example.org"]])"));
  EXPECT_EQ(mails[0]["date"], 1247406301);
  EXPECT_EQ(mails[1]["from"], Json::parse(R"([["", "owner@phone.invalid"]])"));
  EXPECT_EQ(mails[1]["to"], Json::parse(R"json([["A, B", "\"+420 1\"@phone.invalid"], ["C", "unknown@phone.invalid"],
                                            ["", "unknown@phone.invalid"], ["(\u00E9)", "unknown@phone.invalid"]])json"));
  EXPECT_EQ(mails[1]["subject"], "From me =?utf-8?Q?x?=");
  EXPECT_EQ(mails[1]["text"], "a\n>From b\n>>From c\n");
  EXPECT_EQ(mails[2]["from"], Json::parse(R"([["Jan", "+4201@phone.invalid"]])"));
  EXPECT_EQ(mails[2]["subject"], *Sample(2).subject);
}

TEST(MboxWriter, IsReadAsMeantByUs) {
  std::string text;
  for (int i = 0; i < 3; i++) text += WriteLetter(Sample(i), {});
  const auto letters = ReadAll(text);
  ASSERT_EQ(letters.size(), 3u);
  EXPECT_EQ(Words(letters[0]), "Jan \"J\" Nov\xC3\xA1k<jan@example.org>|Ahoj \xC3\xA9\nX-Evil: 1|1247406301|in");
  EXPECT_EQ(Words(letters[1]), "-<->|A, B<+420 1>|C<->|-<->|(\xC3\xA9)<->|From me =?utf-8?Q?x?=|-|out");
  EXPECT_EQ(letters[2].subject, Sample(2).subject);
}

}  // namespace
}  // namespace brelix
