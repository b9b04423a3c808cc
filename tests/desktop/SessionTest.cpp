#include <gtest/gtest.h>

#include "desktop/Client.h"
#include "desktop/Session.h"
#include "tests/desktop/ScriptedPhone.h"

namespace brelix {
namespace {

using test::kBegin;
using test::kEnd;
using test::ScriptedPhone;

Session::Options Patience(int milliseconds) { return {.timeout = std::chrono::milliseconds(milliseconds)}; }

std::unique_ptr<Link> Dial(const ScriptedPhone& phone) {
  return Connect(phone.Address(), Clock::now() + std::chrono::seconds(5), -1);
}

// Starts a session with the scripted phone, acts, closes; the exit code of what went wrong.
Exit Try(const std::string& script, const std::function<void(Session&)>& act, int timeout = 3000) {
  ScriptedPhone phone(script);
  Exit code = Exit::kOk;
  try {
    Session session(Dial(phone), Patience(timeout));
    Client(session).Start();
    act(session);
  } catch (const Failure& failure) {
    code = failure.code();
  }
  EXPECT_EQ(phone.Finish(), "");
  return code;
}

void AskSerial(Session& session) { Client(session).SerialNumber(); }

TEST(Session, TellsWhatWentWrongAndClosesAllTheSame) {
  struct Row {
    const char* name;
    std::string answer;
    Exit code;
  };
  const Row rows[] = {
      {"an answer", "reply 1/8 00000000 3335", Exit::kOk},
      {"a wrong length field", "lying 99 1/8 00000000 3335", Exit::kOk},
      {"refused result", "reply 1/8 ffffffff", Exit::kRefused},
      {"refused request", "reply 1/8", Exit::kRefused},
      {"default reply", "reply 1/0", Exit::kRefused},
      {"an error of the phone", "reply 1/8 80070005", Exit::kPhoneError},
      {"too short for a result", "reply 1/8 0000", Exit::kProtocol},
      {"another command's answer", "reply 1/16 00000000", Exit::kProtocol},
      {"another module's answer", "reply 3/8 00000000", Exit::kProtocol},
      {"a number nobody asked with", "stranger 1/8 00000000", Exit::kProtocol},
  };
  for (const Row& row : rows)
    EXPECT_EQ(Try(kBegin + "expect 1/7\n" + row.answer + "\n" + kEnd, AskSerial), row.code) << row.name;
}

TEST(Session, EndsInTimeWhateverThePeerDoes) {
  const auto start = Clock::now();
  EXPECT_EQ(Try("expect 1/247\nnudge\nend", AskSerial, 700), Exit::kLinkLost) << "silence";
  EXPECT_EQ(Try(kBegin + "expect 1/7\nsend 58585858000100080006\nexpect 1/3", AskSerial, 400), Exit::kLinkLost)
      << "a reply that breaks off";
  EXPECT_EQ(Try(kBegin + "expect 1/7", AskSerial), Exit::kLinkLost) << "hang-up";
  EXPECT_EQ(Try("expect 1/247\nflood 2e", AskSerial), Exit::kProtocol) << "endless garbage";
  EXPECT_EQ(Try("expect 1/247\nsend 58585858000100f80004\nflood 5a", AskSerial), Exit::kProtocol) << "endless reply";
  EXPECT_EQ(Try("expect 1/247\nflood 58585858000100f80000 1122 5a5a5a5a", AskSerial), Exit::kProtocol)
      << "endless answers to nobody";
  EXPECT_LT(Clock::now() - start, std::chrono::seconds(15));
}

// What a desktop before us left in the agent's buffer is answered first, one request per arrival of bytes.
TEST(Session, HandshakePassesWhatAnotherDesktopLeftBehind) {
  const std::string rest = "expect 1/1\nreply 1/2 00000000 02b5 07d9 07 0c 0d 2d\n" + kEnd;
  const auto nothing = [](Session&) {};
  EXPECT_EQ(Try("expect 1/247\nstranger 1/8\nnudge\nstranger 3/6\nnudge\nreply 1/248 00000000\n" + rest, nothing),
            Exit::kOk)
      << "whole requests left";
  EXPECT_EQ(Try("expect 1/247\nstranger 1/16\nnudge\nexpect 1/247\nreply 1/248 00000000\n" + rest, nothing), Exit::kOk)
      << "a cut request left, which swallowed the handshake";
  EXPECT_EQ(
      Try("expect 1/247\nstranger 1/16\nnudge\nexpect 1/247\nagain 1/248 00000000\nexpect 1/1\nagain 1/248 00000000\n"
          "nudge\nreply 1/2 00000000 02b5 07d9 07 0c 0d 2d\n" +
              kEnd,
          nothing),
      Exit::kOk)
      << "the first handshake is answered late";
}

TEST(Session, OpenElsewhereIsAWarningOnly) {
  ScriptedPhone phone("expect 1/247\nreply 1/248 ffffffff\nend");
  std::vector<std::string> warnings;
  {
    Session session(Dial(phone), {.warn = [&](const std::string& text) { warnings.push_back(text); }});
    session.Handshake();
  }
  EXPECT_EQ(warnings.size(), 1u);
  EXPECT_EQ(phone.Finish(), "");
}

TEST(Client, ReadsTheAnswersOfOpenAndNumbers) {
  ScriptedPhone phone(kBegin + "expect 1/7\nreply 1/8 00000000 33e9\nexpect 1/257\nreply 1/258 00000000\n" + kEnd);
  Session session(Dial(phone), Patience(3000));
  Client client(session);
  const LocalTime time = client.Start();
  EXPECT_EQ(std::tie(time.year, time.month, time.day, time.hour, time.minute), std::make_tuple(2009, 7, 12, 13, 45));
  EXPECT_FALSE(time.second);
  EXPECT_EQ(client.SerialNumber(), "3\xC3\xA9");
  EXPECT_EQ(client.SubscriberNumber(), std::nullopt);
  session.Close();
  EXPECT_EQ(phone.Finish(), "");
}

TEST(Link, AddressesAreCheckedBeforeAnythingIsDialled) {
  for (const char* address : {"", "phone", "tcp:", "tcp:host", "tcp::1:2", "tcp:[]:1", "unix:", "exec:", "usb:1"}) {
    try {
      Connect(address, Clock::now(), -1);
      ADD_FAILURE() << address;
    } catch (const Failure& failure) {
      EXPECT_EQ(failure.code(), Exit::kUsage) << address;
    }
  }
}

}  // namespace
}  // namespace brelix
