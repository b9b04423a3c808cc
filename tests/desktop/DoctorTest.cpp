// brelix doctor: each thing that can be wrong with a connection is told as what it is.
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <sstream>

#include "desktop/doctor/Doctor.h"
#include "tests/desktop/RunBrelix.h"
#include "tests/desktop/ScriptedPhone.h"

namespace brelix::test {
namespace {

using nlohmann::json;

struct Examined {
  int code;
  std::vector<json> steps;

  std::string State(const std::string& step) const {
    for (const json& each : steps)
      if (each.at("step") == step) return each.at("state");
    return "not told";
  }
  std::string Text(const std::string& step) const {
    for (const json& each : steps)
      if (each.at("step") == step) return each.at("text").get<std::string>() + each.at("advice").dump();
    return {};
  }
};

Examined Doctor(const std::string& address, const std::string& timeout = "2") {
  const Outcome outcome = RunBrelix({"-d", address, "--timeout", timeout, "--json", "doctor"});
  EXPECT_EQ(outcome.err, "");
  Examined examined{outcome.code, {}};
  std::istringstream lines(outcome.out);
  for (std::string line; std::getline(lines, line);) examined.steps.push_back(json::parse(line));
  return examined;
}

std::string Handshake(const std::string& result) { return "expect 1/247\nreply 1/248 " + result + "\n"; }
std::string Open(const std::string& version) {
  return "expect 1/1\nreply 1/2 00000000 " + version + " 07d9 07 0c 0d 2d\n";
}
std::string Timed() {
  std::string all;
  for (int i = 0; i < 7; ++i) all += "expect 1/7\nreply 1/8 00000000\n";
  return all;
}
const std::string kServices =
    "expect 3/5\nreply 3/6 ffffffff\nexpect 4/5\nreply 4/6 ffffffff\nexpect 5/1\nreply 5/2 00000000 0000\n"
    "expect 6/9\nreply 6/10 00000000\n";

TEST(Doctor, finds_nothing_wrong_with_a_phone) {
  ScriptedPhone phone(Handshake("00000000") + Handshake("00000000") + Open("02b5") + Timed() + kServices + kEnd);
  const Examined examined = Doctor(phone.Address());
  EXPECT_EQ(phone.Finish(), "");
  EXPECT_EQ(examined.code, 0);
  EXPECT_EQ(examined.steps.size(), 7u);
  for (const json& step : examined.steps) EXPECT_EQ(step.at("state"), "good") << step;
}

TEST(Doctor, tells_of_an_address_that_leads_nowhere) {
  EXPECT_EQ(Doctor("phone").code, 2);
  EXPECT_EQ(Doctor("phone").State("address"), "bad");
  const Examined nobody = Doctor("unix:/nowhere/at/all");
  EXPECT_EQ(nobody.code, 4);
  EXPECT_EQ(nobody.State("address"), "good");
  EXPECT_EQ(nobody.State("connection"), "bad");
  const Examined no_command = Doctor("exec:exit 3");
  EXPECT_EQ(no_command.code, 4);
  EXPECT_EQ(no_command.State("agent"), "bad");
}

TEST(Doctor, tells_what_else_answers) {
  const Examined ssh = Doctor("exec:printf 'SSH-2.0-server\\r\\n'; cat >/dev/null");
  EXPECT_EQ(ssh.code, 12);
  EXPECT_NE(ssh.Text("agent").find("by its words SSH"), std::string::npos) << ssh.Text("agent");
  const Examined echo = Doctor("exec:cat", "1");
  EXPECT_EQ(echo.code, 12) << "our own words come back";
  EXPECT_EQ(echo.State("agent"), "bad");
  EXPECT_NE(echo.Text("agent").find("an echo"), std::string::npos) << echo.Text("agent");
  EXPECT_EQ(echo.steps.size(), 3u) << "no agent, so there is no pipe of it to look at";
  const Examined silent = Doctor("exec:cat >/dev/null", "1");
  EXPECT_EQ(silent.code, 6);
  EXPECT_NE(silent.Text("agent").find("silent"), std::string::npos);
  ScriptedPhone closing("expect 1/247\n");
  const Examined closed = Doctor(closing.Address());
  EXPECT_EQ(closed.code, 6);
  EXPECT_NE(closed.Text("agent").find("closed"), std::string::npos) << closed.Text("agent");
}

TEST(Doctor, tells_of_another_session_and_of_an_unknown_agent) {
  ScriptedPhone phone(Handshake("ffffffff") + Handshake("ffffffff") + Open("0300") + Timed() +
                      "expect 3/5\nreply 1/0\nexpect 4/5\nreply 4/6 ffffffff\nexpect 5/1\nreply 5/2 00000000 0000\n"
                      "expect 6/9\nreply 6/10 00000000\n" +
                      kEnd);
  const Examined examined = Doctor(phone.Address());
  EXPECT_EQ(phone.Finish(), "");
  EXPECT_EQ(examined.code, 7);
  EXPECT_EQ(examined.State("session"), "remark");
  EXPECT_EQ(examined.State("version"), "remark");
  EXPECT_NE(examined.Text("services").find("contacts"), std::string::npos);
}

TEST(Doctor, passes_over_old_answers) {
  ScriptedPhone phone("expect 1/247\nstranger 1/8 00000000\nnudge\nreply 1/248 00000000\n" + Handshake("00000000") +
                      Open("02b5") + Timed() + kServices + kEnd);
  const Examined examined = Doctor(phone.Address(), "5");
  EXPECT_EQ(phone.Finish(), "");
  EXPECT_EQ(examined.code, 11);
  EXPECT_EQ(examined.State("pipe"), "remark");
  EXPECT_EQ(examined.Text("pipe").find("1 answer to requests of an earlier desktop was"), 0u) << examined.Text("pipe");
}

TEST(Doctor, knows_a_handshake_s_answer_by_more_than_its_number) {
  // An earlier desktop's request may have had our number; and half a result is none.
  for (const char* const instead : {"reply 1/8 00000000\n", "reply 3/248 00000000\n", "reply 1/248 0000\n"}) {
    ScriptedPhone phone(std::string("expect 1/247\n") + instead + "nudge\nsend 00\n");
    const Examined examined = Doctor(phone.Address(), "2");
    EXPECT_EQ(examined.State("agent"), "bad") << instead;
    EXPECT_EQ(examined.State("pipe"), "not told") << instead;
    EXPECT_NE(examined.code, 0) << instead;
  }
}

}  // namespace
}  // namespace brelix::test
