// brelix-phone on its own: making phones, printing them, and saying what is wrong.
#include <netinet/in.h>

#include "tests/e2e/ServedPhone.h"

namespace test {
namespace {

// One line that has all of the words.
void ExpectRefused(const Outcome& outcome, int code, const std::vector<std::string>& words) {
  EXPECT_EQ(outcome.code, code) << outcome.err;
  EXPECT_TRUE(outcome.out.empty()) << outcome.out;
  EXPECT_EQ(std::count(outcome.err.begin(), outcome.err.end(), '\n'), 1) << outcome.err;
  for (const std::string& word : words) EXPECT_NE(outcome.err.find(word), std::string::npos) << outcome.err;
}

TEST(PhoneCommand, a_described_phone_can_be_made_again) {
  const PhoneFolder first({{"clock", {{"localTime", "2001-02-03T04:05:06.007"}, {"utcOffsetMinutes", -210}}},
                           {"lines", {{{"name", "A"}, {"radioOff", true}}, {{"name", "A"}}}},
                           {"power", {{"queryFails", true}}},
                           {"messageBoxes", {{{"caption", "Question"}, {"answer", "yes"}}}},
                           {"faults", {{{"call", "accept"}, {"result", 10055}, {"skip", 3}, {"times", 2}}}}});
  const Outcome described = BrelixPhone({"describe", first.Path()});
  ASSERT_EQ(described.code, 0) << described.err;
  const PhoneFolder second(nlohmann::json::parse(described.out));
  EXPECT_EQ(BrelixPhone({"describe", second.Path()}).out, described.out);
}

TEST(PhoneCommand, outbox_lists_what_was_sent) {
  const nlohmann::json description = {
      {"outbox",
       {{{"id", 7}, {"sent", "2009-07-12T13:45:01Z"}, {"to", "+15550101"}, {"text", "two\nlines"}},
        {{"id", 9}, {"to", "+1"}, {"text", "\u0159"}, {"options", 2}, {"serviceCentre", "+2"}}}}};
  const PhoneFolder phone(description);
  const Outcome listed = BrelixPhone({"outbox", phone.Path()});
  EXPECT_EQ(listed.code, 0) << listed.err;
  EXPECT_EQ(listed.out,
            "     7  2009-07-12T13:45:01Z  to +15550101  9 septets in 1 part\n        \"two\\nlines\"\n"
            "     9  1601-01-01T00:00:00Z  to +1 by +2, report wanted  1 16-bit units in 1 part\n        \u0159\n");
  const Outcome json = BrelixPhone({"outbox", phone.Path(), "--json"});
  const std::size_t end = json.out.find('\n');
  EXPECT_EQ(nlohmann::json::parse(json.out.substr(0, end))["alphabet"], "GSM 7-bit");
  const nlohmann::json second = nlohmann::json::parse(json.out.substr(end));
  EXPECT_EQ(second["id"], 9);
  EXPECT_EQ(second["parts"], 1);
  EXPECT_EQ(BrelixPhone({"outbox", "/nowhere"}).code, 1);
}

TEST(PhoneCommand, bad_descriptions_make_nothing) {
  const TemporaryFolder folder;
  const std::string target = (folder.Path() / "phone").string();
  const std::string file = (folder.Path() / "bad.json").string();
  const auto init = [&](const std::string& json) {
    std::ofstream(file) << json;
    return BrelixPhone({"init", target, "--from", file});
  };
  ExpectRefused(init("{\"lines\": [{\"name\": 5}]}"), 1, {file, "/lines/0/name", "5"});
  ExpectRefused(init("{\"memroy\": {}}"), 1, {file, "memroy", "memory"});
  ExpectRefused(init("{\"faults\": [{\"call\": \"RegOpenKey\"}]}"), 1, {file, "/faults/0", "RegOpenKeyExW"});
  ExpectRefused(init("{\"power\": {\"batteryFlag\": 256}}"), 1, {file, "/power/batteryFlag"});
  ExpectRefused(init("{\"lines\": ["), 1, {file, "line"});
  EXPECT_FALSE(std::filesystem::exists(target));
  ExpectRefused(BrelixPhone({"init", target, "--from", "/nowhere.json"}), 1, {"/nowhere.json"});
  ExpectRefused(BrelixPhone({"init", folder.Path().string()}), 1, {folder.Path().string()});
}

TEST(PhoneCommand, addresses_that_cannot_be_served_are_explained) {
  const PhoneFolder phone(nlohmann::json::object());
  const auto serve = [&](const std::string& listen) {
    return BrelixPhone({"serve", phone.Path(), "--listen", listen});
  };
  ExpectRefused(serve("tcp:0.0.0.0:0"), 2, {"0.0.0.0", "--allow-remote", "password"});
  ExpectRefused(serve("tcp:[::]:0"), 2, {"--allow-remote"});
  ExpectRefused(serve("udp:127.0.0.1:0"), 2, {"udp:127.0.0.1:0", "tcp:HOST:PORT"});
  ExpectRefused(serve("tcp:127.0.0.1"), 2, {"tcp:127.0.0.1"});
  ExpectRefused(serve("tcp:127.0.0.1:70000"), 2, {"70000", "65535"});
  EXPECT_EQ(Brelix({"-d", "tcp:127.0.0.1:70000", "info"}).code, 2);
  ExpectRefused(serve("unix:/nowhere/socket"), 1, {"unix:/nowhere/socket", "No such file"});
  ExpectRefused(serve("unix:/" + std::string(200, 'x')), 2, {"107"});

  Server taken(phone, "tcp:127.0.0.1:0");
  ExpectRefused(serve(taken.Address()), 1, {taken.Address(), "in use"});
  EXPECT_EQ(taken.End(SIGTERM).code, 0);

  Server socket(phone, "unix:" + phone.SocketPath());
  ExpectRefused(serve("unix:" + phone.SocketPath()), 1, {phone.SocketPath(), "in use"});
  socket.End(SIGKILL);
  Server after(phone, "unix:" + phone.SocketPath());  // what a killed process left behind is no obstacle
  EXPECT_EQ(after.End(SIGTERM).code, 0);
}

TEST(PhoneCommand, a_folder_that_is_no_phone_is_left_alone) {
  const TemporaryFolder folder;
  ExpectRefused(BrelixPhone({"describe", folder.Path().string()}), 1, {"phone.db"});
  const PhoneFolder phone(nlohmann::json::object());
  const std::filesystem::path database = std::filesystem::path(phone.Path()) / "phone.db";
  std::ofstream(database) << "not a database, but long enough to look like something at first";
  const std::string before = ReadFile(database);
  ExpectRefused(BrelixPhone({"serve", phone.Path()}), 1, {"phone.db"});
  ExpectRefused(BrelixPhone({"rapi", phone.Path()}), 1, {"phone.db"});
  EXPECT_EQ(ReadFile(database), before);
}

TEST(PhoneCommand, an_engine_that_cannot_start_shows_why) {
  const nlohmann::json description = {{"faults", {{{"call", "PhoneOpenCallLog"}, {"times", "always"}}}}};
  const PhoneFolder phone(description);
  const Outcome serve = BrelixPhone({"serve", phone.Path(), "--check-leaks"});
  EXPECT_EQ(serve.code, 1);
  EXPECT_NE(serve.err.find("PhoneOpenCallLog(): 80004005"), std::string::npos) << serve.err;
  EXPECT_EQ(serve.err.find("still held"), std::string::npos) << serve.err;
  const Outcome rapi = BrelixPhone({"rapi", phone.Path(), "--check-leaks"});
  EXPECT_EQ(rapi.code, 1);
  EXPECT_NE(rapi.err.find("PhoneOpenCallLog(): 80004005"), std::string::npos) << rapi.err;
}

TEST(PhoneCommand, the_question_about_the_radio_is_answered_by_the_description) {
  const nlohmann::json off = {{"lines", {{{"name", "Cellular Line"}, {"radioOff", true}}}}};
  const PhoneFolder unanswered(off);
  const Outcome declined = BrelixPhone({"serve", unanswered.Path()});
  EXPECT_EQ(declined.code, 1);
  EXPECT_NE(declined.err.find("Continue with no radio?"), std::string::npos) << declined.err;
  nlohmann::json answered = off;
  answered["messageBoxes"] = {{{"contains", "no radio"}, {"answer", "yes"}}};
  const PhoneFolder phone(answered);
  Server server(phone, "tcp:127.0.0.1:0");
  EXPECT_EQ(Brelix({"-d", server.Address(), "info"}).code, 0);
  EXPECT_EQ(server.End(SIGTERM).code, 0);
}

}  // namespace
}  // namespace test
