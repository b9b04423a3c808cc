// The documents of the call log and of the message store, as phones write them and as they should not.
#include <gtest/gtest.h>

#include "desktop/Elements.h"
#include "desktop/Failure.h"
#include "desktop/calls/CallLog.h"
#include "desktop/messages/Message.h"

namespace brelix {
namespace {

const std::string kXml = "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n";

using Pairs = std::vector<std::pair<std::string, std::string>>;

TEST(Elements, AreReadInTheirOrderAndDoubtIsTold) {
  static constexpr ElementRule kRules[] = {{"a", 0}, {"b", 1, true}, {"c", 1, true}, {"d", 2}};
  struct Row {
    std::string body;
    Pairs elements;
    bool ambiguous;
  };
  const Row rows[] = {
      {"", {}, false},
      {"  <a>1</a>\n  <d>2</d>\n", {{"a", "1"}, {"d", "2"}}, false},
      {"  <b>1</b>\n  <c>2</c>\n  <b>3</b>\n", {{"b", "1"}, {"c", "2"}, {"b", "3"}}, false},
      {"<a>1</a> <d>2</d>", {{"a", "1"}, {"d", "2"}}, false},
      // Tags in a text that do not stand as a phone would write them.
      {"<a></a><a></a>", {{"a", "</a><a>"}}, false},
      {"  <a>x</a><d>y</a>\n", {{"a", "x</a><d>y"}}, false},
      {"  <d></d><a></d>\n", {{"d", "</d><a>"}}, false},
      {"  <a>x</a>\n  <d>y</a>\n", {{"a", "x</a>\n  <d>y"}}, false},
      // The same text as its tags, line by line: nobody can tell.
      {"  <a>x</a>\n  <d>y</a>\n  <d>z</d>\n", {{"a", "x"}, {"d", "y</a>\n  <d>z"}}, true},
      {"  <b>1</b>\n  <c>2</b>\n  <c>3</c>\n", {{"b", "1"}, {"c", "2</b>\n  <c>3"}}, true},
      {"  <b>1</b>\n  <b>2</b>\n", {{"b", "1"}, {"b", "2"}}, false},
  };
  for (const Row& row : rows) {
    const Reading reading = ReadElements(row.body, kRules);
    Pairs elements;
    for (const auto& [name, text] : reading.elements) elements.emplace_back(name, text);
    EXPECT_EQ(elements, row.elements) << row.body;
    EXPECT_EQ(reading.ambiguous, row.ambiguous) << row.body;
  }
  for (const char* body : {"x", "<a>", "<a></a>\n<d></d><b></b>", "  <d>1</d>\n  <a>2</a>\n", "<e></e>", "<a></a>x"})
    EXPECT_THROW(ReadElements(body, kRules), Failure) << body;
}

// As many closing and opening tags as a reply can hold, each of which might be the end of any text.
TEST(Elements, TakeNoLongerForTextsFullOfTags) {
  static constexpr ElementRule kRules[] = {{"b", 0, true}};
  std::string body;
  while (body.size() < 900000) body += "  <b></b>\n";
  const auto start = std::chrono::steady_clock::now();
  EXPECT_EQ(ReadElements(body, kRules).elements.size(), body.size() / 10);
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(10));
}

std::string CallDocument(const std::string& kind, const std::string& caller_id, const std::string& texts) {
  return kXml +
         "<logentry>\n  <startcall>20090712T134501Z</startcall>\n  <endcall>20090712T134611Z</endcall>\n  <calltype" +
         kind + "</calltype>\n<calleridtype>" + caller_id + "</calleridtype>\n" + texts + "</logentry>";
}

std::string Words(const Call& call) {
  std::string words;
  for (const auto& word : {call.direction, call.progress, call.caller_id, call.number, call.phone_type, call.name})
    words += word.value_or("-") + "|";
  return words + (call.ambiguous ? "ambiguous" : "");
}

TEST(Call, IsReadWithStaleBytesWhereThePhoneHadNoWord) {
  const std::string zero(1, '\0');
  struct Row {
    std::string kind, caller_id, texts, words;
  };
  const Row rows[] = {
      {">missed", "unavailable", "", "missed|-|unavailable|-|-|-|"},
      {">incoming", "blocked", "  <number></number>\n", "incoming|-|blocked|-|-|-|"},
      {" kind=\"roaming\">outgoing", "available",
       "  <number>+420 1</number>\n  <phonetype>m</phonetype>\n  <name>J <&></name>\n",
       "outgoing|roaming|available|+420 1|m|J <&>|"},
      {" kind=\"connected\">outgoing", "available", "  <name>\xED\xA0\xBD\xED\xB8\x80</name>\n",
       "outgoing|connected|available|-|-|\xF0\x9F\x98\x80|"},
      // 7, 11 and 14 bytes that were left as they were, the first of them a zero.
      {" kind=\"" + zero + "ended\"" + ">outgoing", "available", "", "outgoing|-|available|-|-|-|"},
      {" kind=\"" + zero + "><kind>outgoing", "available", "", "outgoing|-|available|-|-|-|"},
      {zero + "xx>missed>>", "available", "", "-|-|available|-|-|-|"},
      {zero + "</calltype", "available", "", "-|-|available|-|-|-|"},
      {zero + "xxx>missed", "available", "", "-|-|available|-|-|-|"},
      {">missed", zero + "</calleridtyp", "  <name>N</name>\n", "missed|-|-|-|-|N|"},
      {">missed", zero + "vailable\n <na", "  <name>N</name>\n", "missed|-|-|-|-|N|"},
      // A name that holds what could be elements of its own.
      {">missed", "available", "  <number>1</number>\n  <name>x</name>\n</logentry></name>\n",
       "missed|-|available|1|-|x</name>\n</logentry>|"},
      {">missed", "available", "  <number>1</number>\n  <name>2</number>\n  <name>3</name>\n",
       "missed|-|available|1|-|2</number>\n  <name>3|ambiguous"},
  };
  for (const Row& row : rows) {
    const Call call = ReadCall(CallDocument(row.kind, row.caller_id, row.texts));
    EXPECT_EQ(Words(call), row.words) << row.kind << row.texts;
    ASSERT_TRUE(call.start && call.end);
    EXPECT_EQ(TimeText(*call.start, 'T'), "2009-07-12T13:45:01");
    EXPECT_EQ(call.DurationSeconds(), 70);
  }
  for (const std::string& document :
       {std::string(), kXml + "<logentry>\n</logentry>", CallDocument(">missed", "x", "junk"),
        CallDocument(">missed", "x", "").substr(0, 190)})
    EXPECT_THROW(ReadCall(document), Failure) << document;
}

std::string MessageDocument(const std::string& body) { return kXml + "<message>\n" + body + "</message>"; }

std::string Words(const Message& message) {
  std::string words = message.direction == Message::Direction::kIncoming ? "in|" : "out|";
  words += message.time ? std::to_string(message.time->time_since_epoch().count()) : "-";
  if (message.direction == Message::Direction::kIncoming)
    words += "|" + message.sender.value_or("-") + "|" + message.address.value_or("-");
  for (const Recipient& to : message.recipients) words += "|" + to.name.value_or("-") + "," + to.address.value_or("-");
  return words + "|" + message.subject.value_or("-") + (message.ambiguous ? "|ambiguous" : "");
}

TEST(Message, IsReadWhateverItsTextsHold) {
  const std::string in = "  <direction>incoming</direction>\n", out = "  <direction>outgoing</direction>\n";
  const std::string time = "  <time>20090712T134501Z</time>\n";
  struct Row {
    std::string body, words;
  };
  const Row rows[] = {
      {out, "out|-|-"},
      {in + time + "  <sender>Jan</sender>\n  <phone_or_email>+4201</phone_or_email>\n  <subject>hi & bye</subject>\n",
       "in|1247406301|Jan|+4201|hi & bye"},
      {in + "  <sender></sender>\n", "in|-|-|-|-"},
      {out + time +
           "  <recipient>A</recipient>\n  <phone_or_email>1</phone_or_email>\n  <recipient>B</recipient>\n"
           "  <subject>s</subject>\n",
       "out|1247406301|A,1|B,-|s"},
      {out + "  <recipient>A</recipient>\n  <phone_or_email>1</phone_or_email>\n", "out|-|A,1|-"},
      {out + "  <phone_or_email>1</phone_or_email>\n  <recipient>A</recipient>\n", "out|-|-,1|A,-|-|ambiguous"},
      {in + time + "  <sender>J</sender>\n  <subject></subject><time></subject>\n",
       "in|1247406301|J|-|</subject><time>"},
      {in + "  <sender>J</sender>\n  <subject>a</subject>\n</message>\n  <x></subject>\n",
       "in|-|J|-|a</subject>\n</message>\n  <x>"},
      {in + "  <sender>J</sender>\n  <phone_or_email>1</sender>\n  <phone_or_email>2</phone_or_email>\n",
       "in|-|J|1</sender>\n  <phone_or_email>2|-|ambiguous"},
      {in + "  <time>20090231T000000Z</time>\n  <sender>J</sender>\n", "in|-|J|-|-"},
  };
  for (const Row& row : rows) EXPECT_EQ(Words(ReadMessage(MessageDocument(row.body))), row.words) << row.body;
  for (const char* body : {"", "  <direction>sideways</direction>\n", "  <subject>s</subject>\n"})
    EXPECT_THROW(ReadMessage(MessageDocument(body)), Failure) << body;
}

TEST(Message, SendersAddressGetsItsAngleBracketsBack) {
  struct Row {
    std::string wire, address;
    bool ambiguous;
  };
  const Row rows[] = {
      {"+4201", "+4201", false},
      {"(((1)))", "(((1)))", false},  // not quoted: the phone left it alone
      {"\"Jan (((1)))\"", "\"Jan (((1)))\"", false},
      {"\"Jan\" (((+4201)))", "\"Jan\" <+4201>", false},
      {"\"Jan", "\"Jan", false},
      {"\"J\" (((a (1) b)))", "\"J\" <a (1) b>", false},
      {"\"J\" (((1", "\"J\" <1", false},
      {"\"J\" ((((1)))", "\"J\" <(1>", true},
      {"\"J\" (((1))))", "\"J\" <1)>", true},
  };
  for (const Row& row : rows) {
    bool ambiguous = false;
    EXPECT_EQ(RestoreSenderAddress(row.wire, ambiguous), row.address);
    EXPECT_EQ(ambiguous, row.ambiguous) << row.wire;
  }
}

TEST(Names, AreReadOneByOne) {
  const Names names = ReadNames(kXml + "<accounts>\n  <name>SMS</name>\n</accounts>", "accounts");
  EXPECT_EQ(names.names, std::vector<std::string>{"SMS"});
  EXPECT_FALSE(names.ambiguous);
  EXPECT_TRUE(ReadNames(kXml + "<folders>\n</folders>", "folders").names.empty());
  EXPECT_THROW(ReadNames(kXml + "<folders>\n</folders>", "accounts"), Failure);
}

}  // namespace
}  // namespace brelix
