// Calls, messages and SMS of a served phone, as brelix tells them; phones made of mail folders.
#include <sstream>

#include "tests/e2e/ServedPhone.h"

namespace test {
namespace {

using nlohmann::json;

json MessagesOf(const std::string& described, int folder) {
  return json::parse(described)["accounts"][0]["folders"][folder]["messages"];
}

TEST(Mail, a_mail_folder_becomes_messages_of_a_phone) {
  const TemporaryFolder folder;
  const std::string phone = (folder.Path() / "phone").string();
  const std::string box = (folder.Path() / "box=1.mbox").string();
  std::ofstream(box) << "From x Thu Jul  9 12:00:00 2009\nFrom: =?utf-8?Q?Jan_Nov=C3=A1k?= <jan@example.org>\n"
                        "To: Ada <ada@example.org>, b@example.org\nSubject: Hello\n"
                        "Date: Sun, 12 Jul 2009 15:45:01 +0200\n\ntext\n\n"
                        "From x Thu Jul  9 12:00:00 2009\nFrom: jan@example.org\n\n";
  const Outcome made = BrelixPhone({"init", phone, "--mail", "Work/Inbox=" + box, "--mail", "Work/Sent Items=" + box});
  ASSERT_EQ(made.code, 0) << made.err;
  const std::string described = BrelixPhone({"describe", phone}).out;
  EXPECT_EQ(MessagesOf(described, 0), json::parse(R"([
      {"sender": {"name": "Jan Nov\u00E1k", "address": "jan@example.org"}, "subject": "Hello",
       "delivered": "2009-07-12T13:45:01Z"},
      {"sender": {"name": "jan@example.org", "address": "jan@example.org"}}])"));
  EXPECT_EQ(MessagesOf(described, 1).at(0), json::parse(R"(
      {"recipients": [{"name": "Ada", "address": "ada@example.org"}, {"address": "b@example.org"}], "subject": "Hello",
       "delivered": "2009-07-12T13:45:01Z"})"));

  const std::string other = (folder.Path() / "other").string();
  for (const auto& [source, code, word] :
       {std::tuple("Work/Inbox", 2, "ACCOUNT/FOLDER=FILE"), std::tuple("Work/Inbox=/nowhere.mbox", 1, "/nowhere.mbox"),
        std::tuple("Work/Inbox=/dev/zero", 1, "/dev/zero:1: ")}) {
    const Outcome refused = BrelixPhone({"init", other, "--mail", source});
    EXPECT_EQ(refused.code, code) << refused.err;
    EXPECT_NE(refused.err.find(word), std::string::npos) << refused.err;
    EXPECT_FALSE(std::filesystem::exists(other));
  }
}

const json kDescription = json::parse(R"json({
  "clock": {"localTime": "2009-07-13T10:00:00", "utcOffsetMinutes": 120},
  "calls": [
    {"start": "2009-07-12T13:45:01Z", "end": "2009-07-12T13:46:11Z", "direction": "outgoing",
     "flags": ["connected", "ended"], "number": "+15550101", "name": "Ben </name>\n<x>", "phoneType": "m"},
    {"start": "2009-07-12T12:00:00Z", "direction": 7, "callerId": 9},
    {"start": "2009-07-12T11:00:00Z", "direction": "outgoing"},
    {"start": "2009-07-12T10:00:00Z"}],
  "accounts": [
    {"name": "Pošta 😀", "folders": [
      {"name": "Inbox", "messages": [
        {"sender": {"name": "Ben", "address": "\"Ben\" <+15550101>"}, "subject": "</subject><time>",
         "delivered": "2009-07-12T13:45:01Z"},
        {"sender": {"name": "Ada"}, "delivered": "2009-07-12T14:00:00Z"}]},
      {"name": "Sent Items", "messages": [
        {"recipients": [{"name": "A", "address": "a@example.org"}, {"name": "B"}], "subject": "řeč"}]}]}]
})json");

TEST(Mail, calls_are_told_with_what_the_phone_knows_of_them) {
  const PhoneFolder phone(kDescription);
  Server server(phone, "unix:" + phone.SocketPath());
  const Outcome listed = Brelix({"-d", server.Address(), "--json", "calls", "list"});
  EXPECT_EQ(listed.code, 0) << listed.err;
  const auto calls = JsonLines(listed.out);
  ASSERT_EQ(calls.size(), 4u) << listed.out;
  EXPECT_EQ(calls[0], json::parse(R"json({"start": "2009-07-12T15:45:01", "end": "2009-07-12T15:46:11",
      "zone": "device-local", "duration_seconds": 70, "direction": "outgoing", "progress": "ended",
      "caller_id": "available", "number": "+15550101", "phone_type": "m", "name": "Ben </name>\n<x>"})json"));
  EXPECT_EQ(calls[1]["direction"], nullptr);
  EXPECT_EQ(calls[1]["caller_id"], nullptr);
  EXPECT_EQ(calls[2]["direction"], "outgoing");
  EXPECT_EQ(calls[2]["progress"], nullptr);
  EXPECT_EQ(calls[3]["direction"], "missed");
  EXPECT_EQ(server.End(SIGTERM).code, 0);
}

TEST(Mail, what_is_exported_makes_the_same_phone) {
  const std::string account = "Pošta 😀";
  const PhoneFolder phone(kDescription);
  Server server(phone, "unix:" + phone.SocketPath());
  EXPECT_EQ(Brelix({"-d", server.Address(), "--json", "messages", "accounts"}).out, "{\"name\":\"" + account + "\"}\n");
  EXPECT_EQ(Brelix({"-d", server.Address(), "--json", "messages", "folders", account}).out,
            "{\"name\":\"Inbox\"}\n{\"name\":\"Sent Items\"}\n");
  const auto exported = JsonLines(Brelix({"-d", server.Address(), "--json", "messages", "export", account}).out);
  ASSERT_EQ(exported.size(), 3u);
  EXPECT_EQ(exported[0]["sender"], "Ada") << "the newest first";
  EXPECT_EQ(exported[1]["subject"], "</subject><time>");
  EXPECT_EQ(exported[1]["address"], "\"Ben\" <+15550101>");
  EXPECT_EQ(exported[1]["time"], "2009-07-12T13:45:01Z");
  EXPECT_EQ(exported[2]["recipients"].size(), 2u);

  const std::string again = phone.Path() + "2";
  std::vector<std::string> init = {"init", again};
  for (const std::string folder : {"Inbox", "Sent Items"}) {
    const std::string box = phone.Path() + folder;
    const Outcome outcome = Brelix({"-d", server.Address(), "messages", "export", account, folder, "--mbox", box});
    EXPECT_EQ(outcome.code, 0) << outcome.err;
    init.insert(init.end(), {"--mail", account + "/" + folder + "=" + box});
  }
  EXPECT_EQ(server.End(SIGTERM).code, 0);
  const Outcome made = BrelixPhone(init);
  ASSERT_EQ(made.code, 0) << made.err;
  const std::string described = BrelixPhone({"describe", again}).out;
  EXPECT_EQ(MessagesOf(described, 0).at(1), json::parse(R"({"sender": {"name": "Ben", "address": "+15550101"},
      "subject": "</subject><time>", "delivered": "2009-07-12T13:45:01Z"})"));
  EXPECT_EQ(MessagesOf(described, 1), kDescription["accounts"][0]["folders"][1]["messages"]);
}

TEST(Mail, a_text_that_is_sent_is_in_the_outbox) {
  const PhoneFolder phone(kDescription);
  Server server(phone, "unix:" + phone.SocketPath());
  const std::string device = server.Address();
  const Outcome sent =
      Brelix({"-d", device, "--json", "sms", "send", "+15550101", "Grüße 😀", "--report", "--service-centre", "+1555"});
  ASSERT_EQ(sent.code, 0) << sent.err;
  const auto id = std::to_string(json::parse(sent.out)["message_id"].get<int>());
  EXPECT_EQ(Brelix({"-d", device, "sms", "status", id}).code, 0);
  EXPECT_EQ(Brelix({"-d", device, "sms", "status", "4000000000"}).code, 8);
  EXPECT_EQ(Brelix({"-d", device, "--read-only", "sms", "send", "+15550101", "no"}).code, 2);
  EXPECT_EQ(server.End(SIGTERM).code, 0);
  const json outbox = json::parse(BrelixPhone({"describe", phone.Path()}).out)["outbox"];
  ASSERT_EQ(outbox.size(), 1u) << outbox;
  EXPECT_EQ(outbox[0]["to"], "+15550101");
  EXPECT_EQ(outbox[0]["text"], "Grüße 😀");
  EXPECT_EQ(outbox[0]["serviceCentre"], "+1555");
  EXPECT_EQ(outbox[0]["options"], 2);
}

}  // namespace
}  // namespace test
