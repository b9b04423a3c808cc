// calls, messages and sms on the command line, against phones that say what no honest phone would.
#include <fstream>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <sstream>
#include <unistd.h>

#include "desktop/ItemWalk.h"
#include "tests/desktop/RunBrelix.h"
#include "tests/desktop/ScriptedPhone.h"

namespace brelix::test {
namespace {

using nlohmann::json;

const std::string kXml = "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n";
const std::string kZero(1, '\0');

std::string Call(const std::string& kind, const std::string& texts) {
  return kXml +
         "<logentry>\n  <startcall>20090712T134501Z</startcall>\n  <endcall>20090712T134611Z</endcall>\n  <calltype" +
         kind + "</calltype>\n<calleridtype>available</calleridtype>\n" + texts + "</logentry>";
}

std::string Message(const std::string& body) { return kXml + "<message>\n" + body + "</message>"; }

const std::map<std::string, std::string> kDocuments = {
    {"out", Call(" kind=\"ended\">outgoing", "  <number>+4201</number>\n  <name>A, \"B\"</name>\n")},
    {"odd", Call(kZero + "ale bytes<", "  <name>C</name>\n")},
    {"junk", kXml + "<logentry>\n</logentry>"},
    {"accounts", kXml + "<accounts>\n  <name>SMS</name>\n  <name>\xC3\x9A\xC4\x8D"
                        "et</name>\n</accounts>"},
    {"folders", kXml + "<folders>\n  <name>Inbox</name>\n  <name>Sent</name>\n  <name>Inbox</name>\n</folders>"},
    {"in", Message("  <direction>incoming</direction>\n  <time>20090712T134501Z</time>\n  <sender>Jan</sender>\n"
                   "  <phone_or_email>\"Jan\" (((+4201)))</phone_or_email>\n  <subject></subject><time></subject>\n")},
    {"sent",
     Message("  <direction>outgoing</direction>\n  <recipient>A</recipient>\n  <phone_or_email>1</phone_or_email>\n"
             "  <recipient>B</recipient>\n")},
};

std::string Asks(const std::string& request, const std::string& answer) {
  return "expect " + request + "\nreply " + answer + "\n";
}

// One by one, so that the script can say what is done after which answer.
Outcome Serve(const std::string& script, std::vector<std::string> arguments) {
  ScriptedPhone phone(kBegin + script + kEnd, kDocuments);
  arguments.insert(arguments.begin(), {"-d", phone.Address(), "--window", "1"});
  const Outcome outcome = RunBrelix(arguments);
  EXPECT_EQ(phone.Finish(), "") << arguments[4] << arguments[5] << outcome.err;
  return outcome;
}

std::vector<json> Lines(const std::string& text) {
  std::vector<json> all;
  std::istringstream lines(text);
  for (std::string line; std::getline(lines, line);) all.push_back(json::parse(line, nullptr, false));
  return all;
}

bool Has(const std::string& text, const std::string& part) { return text.find(part) != text.npos; }

// Names on the wire, with their ends.
const std::string kSms = "534d5300", kInbox = "496e626f7800", kSent = "53656e7400";
const std::string kThreeCalls = Asks("5/1", "5/2 00000000 0003") + Asks("5/41", "5/42 00000000 $out");
const std::string kNoMoreCalls = Asks("5/41", "5/42 ffffffff");

TEST(Calls, AreListedByThePhonesClock) {
  const std::string script = kThreeCalls + Asks("5/41", "5/42 00000000 $odd") + kNoMoreCalls;
  const Outcome outcome = Serve(script, {"--json", "calls", "list"});
  EXPECT_EQ(outcome.code, 0) << outcome.err;
  const auto calls = Lines(outcome.out);
  ASSERT_EQ(calls.size(), 2u) << outcome.out;
  EXPECT_EQ(calls[0], json::parse(R"({"start": "2009-07-12T13:45:01", "end": "2009-07-12T13:46:11",
      "zone": "device-local", "duration_seconds": 70, "direction": "outgoing", "progress": "ended",
      "caller_id": "available", "number": "+4201", "phone_type": null, "name": "A, \"B\""})"));
  EXPECT_EQ(calls[1]["direction"], nullptr);
  EXPECT_EQ(calls[1]["name"], "C");
  const Outcome table = Serve(script, {"calls", "list"});
  EXPECT_TRUE(Has(table.out, "2009-07-12 13:45:01") && Has(table.out, "outgoing, ended") && Has(table.out, "unknown") &&
              Has(table.out, "phone's clock"))
      << table.out;
  EXPECT_EQ(Serve(Asks("5/1", "5/2 00000000 0000"), {"calls", "list"}).out, "") << "nothing to read in an empty log";
}

TEST(Calls, ThatCannotBeReadAreNamedAndPassedOver) {
  const std::string path = FreshPath();
  const Outcome outcome = Serve(kThreeCalls + Asks("5/41", "5/42 80004005") + Asks("5/7", "5/8 00000000") +
                                    Asks("5/41", "5/42 00000000 $junk") + kNoMoreCalls,
                                {"calls", "export", "--csv", path});
  EXPECT_EQ(outcome.code, 11) << outcome.err;
  EXPECT_TRUE(Has(outcome.err, "call 2 ") && Has(outcome.err, "E_FAIL") && Has(outcome.err, "call 3 ")) << outcome.err;
  EXPECT_EQ(
      ReadFile(path),
      "start,end,zone,duration_seconds,direction,progress,caller_id,number,phone_type,name,ambiguous\r\n"
      "2009-07-12T13:45:01,2009-07-12T13:46:11,device-local,70,outgoing,ended,available,+4201,,\"A, \"\"B\"\"\",\r\n");
  unlink(path.c_str());
  const Outcome lost =
      Serve(kThreeCalls + Asks("5/41", "5/42 80004005") + Asks("5/7", "5/8 ffffffff"), {"calls", "list", "--json"});
  EXPECT_EQ(lost.code, 11) << "the last one cannot be read: " << lost.err;
  std::string forever = Asks("5/1", "5/2 00000000 0003") + Asks("5/41", "5/42 80004005");
  for (int i = 1; i < 50; i++) forever += Asks("5/7", "5/8 00000000") + Asks("5/41", "5/42 80004005");
  EXPECT_EQ(Serve(forever, {"calls", "export", "--csv", path}).code, 8);
  EXPECT_FALSE(std::ifstream(path)) << "nothing half done is left";
}

std::string Selected(const std::string& folder, const std::string& count) {
  return Asks("6/1 " + kSms, "6/2 00000000") + Asks("6/5 " + folder, "6/6 00000000") +
         Asks("6/13", "6/14 00000000 " + count);
}
const std::string kNoMoreMessages = Asks("6/15", "6/16 00000002");

TEST(Calls, ThatAreTheSameOverAndOverDoNotGoOnForEver) {
  Misses misses("call");
  for (int i = 0; i < 20000; i++) misses.Read(i % 2 == 0 ? "one" : "another");
  uint64_t given = 0;
  const auto endless = [&] {
    for (;; given++) try {
        misses.Read("the same");
      } catch (const Failure& failure) {
        misses.Miss(given, failure, [](uint64_t, const Failure&) {});
      }
  };
  EXPECT_THROW(endless(), Failure);
  EXPECT_GT(given, 5000u);
  EXPECT_LT(given, 20000u);
}

TEST(Messages, AreListedInUtcOrInTheZoneNamed) {
  const std::string script = Selected(kInbox, "0002") + Asks("6/15", "6/16 00000000 $in") +
                             Asks("6/15", "6/16 00000000 $sent") + kNoMoreMessages;
  const Outcome outcome = Serve(script, {"--json", "messages", "list", "SMS", "Inbox"});
  EXPECT_EQ(outcome.code, 0) << outcome.err;
  const auto messages = Lines(outcome.out);
  ASSERT_EQ(messages.size(), 2u) << outcome.out;
  EXPECT_EQ(messages[0], json::parse(R"({"folder": "Inbox", "direction": "incoming", "time": "2009-07-12T13:45:01Z",
      "zone": "utc", "sender": "Jan", "address": "\"Jan\" <+4201>", "subject": "</subject><time>"})"));
  EXPECT_EQ(messages[1], json::parse(R"({"folder": "Inbox", "direction": "outgoing", "time": null, "zone": "utc",
      "recipients": [{"name": "A", "address": "1"}, {"name": "B", "address": null}], "subject": null})"));
  const auto summer = Lines(Serve(script, {"--json", "messages", "list", "SMS", "Inbox", "--tz", "Europe/Prague"}).out);
  EXPECT_EQ(summer.at(0)["time"], "2009-07-12T15:45:01+02:00");
  EXPECT_EQ(summer.at(0)["zone"], "Europe/Prague");
  const Outcome table = Serve(script, {"messages", "list", "SMS", "Inbox", "--tz", "America/St_Johns"});
  EXPECT_TRUE(Has(table.out, "2009-07-12 11:15:01-02:30") && Has(table.out, "A <1>, B")) << table.out;
}

TEST(Messages, NamesAreExactAndToldOneByOne) {
  const Outcome accounts = Serve(Asks("6/9", "6/10 00000000 $accounts"), {"--json", "messages", "accounts"});
  EXPECT_EQ(accounts.out,
            "{\"name\":\"SMS\"}\n{\"name\":\"\xC3\x9A\xC4\x8D"
            "et\"}\n");
  // A character outside the basic plane is two surrogates.
  const Outcome gone = Serve(Asks("6/1 eda0bdedb88000", "6/2 00000000") + Asks("6/11", "6/12 00000002"),
                             {"messages", "folders", "\xF0\x9F\x98\x80"});
  EXPECT_EQ(gone.code, 8);
  EXPECT_TRUE(Has(gone.err, "no account")) << gone.err;
  const Outcome no_folder = Serve(Asks("6/1 " + kSms, "6/2 00000000") + Asks("6/5 " + kInbox, "6/6 00000000") +
                                      Asks("6/13", "6/14 00000002") + Asks("6/1 " + kSms, "6/2 00000000") +
                                      Asks("6/11", "6/12 00000000 $folders"),
                                  {"messages", "list", "SMS", "Inbox"});
  EXPECT_EQ(no_folder.code, 8);
  EXPECT_TRUE(Has(no_folder.err, "no folder \"Inbox\"")) << no_folder.err;
  EXPECT_EQ(Serve("", {"messages", "folders", ""}).code, 2);
  EXPECT_EQ(Serve("", {"messages", "folders", std::string(256, 'x')}).code, 2);
}

TEST(Messages, OfAllFoldersBecomeOneMailFile) {
  const std::string path = FreshPath();
  const Outcome outcome =
      Serve(Asks("6/1 " + kSms, "6/2 00000000") + Asks("6/11", "6/12 00000000 $folders") + Selected(kInbox, "0002") +
                Asks("6/15", "6/16 80070005") + Asks("6/15", "6/16 00000000 $in") + kNoMoreMessages +
                Selected(kSent, "0001") + Asks("6/15", "6/16 00000000 $sent") + kNoMoreMessages,
            {"messages", "export", "SMS", "--mbox", path});
  EXPECT_EQ(outcome.code, 11) << outcome.err;
  EXPECT_TRUE(Has(outcome.err, "two folders \"Inbox\"") && Has(outcome.err, "E_ACCESSDENIED")) << outcome.err;
  const std::string mail = ReadFile(path);
  unlink(path.c_str());
  EXPECT_TRUE(Has(mail,
                  "From: \"Jan\" <+4201@phone.invalid>\nSubject: </subject><time>\n"
                  "Date: Sun, 12 Jul 2009 13:45:01 +0000\nX-Direction: incoming\n"
                  "X-Body: not available over this protocol\n"))
      << mail;
  EXPECT_TRUE(Has(mail, "To: \"A\" <1@phone.invalid>,\n \"B\" <unknown@phone.invalid>\n")) << mail;
}

TEST(Messages, LinkThatIsLostEndsARun) {
  const std::string path = FreshPath();
  ScriptedPhone phone(kBegin + Selected(kInbox, "0002") + Asks("6/15", "6/16 00000000 $in") + "expect 6/15\n",
                      kDocuments);
  EXPECT_EQ(RunBrelix({"-d", phone.Address(), "messages", "export", "SMS", "Inbox", "--mbox", path}).code, 6);
  EXPECT_FALSE(std::ifstream(path));
}

TEST(Sms, IsSentAsTheWireHasIt) {
  const Outcome sent = Serve(Asks("6/17 01 00 2b34323000 6869e282ac00", "6/18 00000000 00000102"),
                             {"--json", "sms", "send", "+420", "hi€", "--report"});
  EXPECT_EQ(sent.code, 0) << sent.err;
  const json report = json::parse(sent.out, nullptr, false);
  EXPECT_EQ(report["message_id"], 258);
  EXPECT_EQ(report["length"], 4);
  EXPECT_EQ(
      Serve(Asks("6/17 00 2b3100 3200 00", "6/18 80004005"), {"sms", "send", "2", "", "--service-centre", "+1"}).code,
      8);
  ScriptedPhone mute(kBegin + "expect 6/17 00 00 3100 6100\n");
  const Outcome lost = RunBrelix({"-d", mute.Address(), "sms", "send", "1", "a"});
  EXPECT_EQ(lost.code, 6);
  EXPECT_TRUE(Has(lost.err, "may have been sent")) << lost.err;
}

TEST(Sms, NothingIsSentThatWouldArriveOtherwise) {
  const Outcome shown = RunBrelix({"--json", "sms", "send", "-n", "1", std::string(161, 'a')});
  EXPECT_EQ(shown.code, 0) << shown.err;
  EXPECT_EQ(json::parse(shown.out, nullptr, false)["parts"], json::array({std::string(153, 'a'), "aaaaaaaa"}));
  EXPECT_EQ(RunBrelix({"sms", "send", "1", "ZZZZ"}).code, 10);
  EXPECT_EQ(RunBrelix({"sms", "send", "one", "x"}).code, 2);
  EXPECT_EQ(Serve("", {"--read-only", "sms", "send", "1", "x"}).code, 2);
}

// The length field says 12, and 4 bytes come.
TEST(Sms, StatusTellsWhatTheWireTells) {
  const Outcome known = Serve("expect 6/19 0000010200000000\nlying 12 6/20 00000000\n", {"sms", "status", "258"});
  EXPECT_EQ(known.code, 0) << known.err;
  EXPECT_TRUE(Has(known.out, "not told")) << known.out;
  EXPECT_EQ(Serve(Asks("6/19 0000000100000000", "6/20 80070057"), {"sms", "status", "1"}).code, 8);
  EXPECT_EQ(RunBrelix({"sms", "status", "4294967296"}).code, 2);
}

}  // namespace
}  // namespace brelix::test
