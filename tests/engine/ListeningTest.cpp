// A host agent's engine: accepts, serves session after session, and stops.
#include <gtest/gtest.h>
#include <thread>

#include "agent/engine/ErrorRecord.h"
#include "tests/support/EngineRun.h"
#include "tests/support/TestPhone.h"
#include "tests/support/WaitingDesktops.h"

namespace test {
namespace {

class Listening : public testing::Test {
 protected:
  // Runs the script with an agent until something stops the engine.
  void Run(int desktops, const std::function<void(CAgentEngine&)>& prepare = {}) {
    const WaitingDesktops waiting(*phone, desktops);
    auto* connection = new CScriptedConnection(script, waiting.Listening());
    ASSERT_TRUE(connection->Construct());
    engine = std::make_unique<CAgentEngine>(&agent, connection);
    ASSERT_TRUE(engine->Construct());
    ASSERT_TRUE(engine->Start());
    if (prepare) prepare(*engine);
    engine->WaitForExit();
    engine.reset();
  }
  void GiveStop() {
    script.Give(Script::Read::Kind::kNothing, [this] { engine->SignalDone(); });
  }

  TestPhone phone;
  Script script;
  RecordingAgent agent;
  std::unique_ptr<CAgentEngine> engine;
};

TEST_F(Listening, serves_session_after_session) {
  script.Give(Frame(1, 247, 1)).Give(Frame(1, 1, 2)).Give(Script::Read::Kind::kClosed);
  script.Give(Frame(1, 3, 3)).Give(Frame(1, 247, 4)).Give(Frame(3, 5, 5));
  GiveStop();
  Run(2);
  EXPECT_EQ(agent.codes, (std::vector<std::uint32_t>{106, 105, 106, 105}));
  // The second desktop has to pass the handshake and to open the session itself.
  const Bytes second = Frame(1, 4, 3) + ResultFrame(1, 248, 4, 0) + Frame(1, 0, 5);
  ASSERT_GT(script.sent.size(), second.size());
  EXPECT_EQ(ToHex(Bytes(script.sent.end() - static_cast<std::ptrdiff_t>(second.size()), script.sent.end())),
            ToHex(second));
  ASSERT_FALSE(script.readSizes.empty());
  EXPECT_EQ(script.readSizes.front(), 16384);
  EXPECT_TRUE(phone.Boxes().empty());
}

TEST_F(Listening, Kept_one_frame_per_read) {
  script.Give(Frame(1, 247, 1) + Frame(1, 3, 2)).Give(Script::Read::Kind::kNothing);
  GiveStop();
  Run(1);
  EXPECT_EQ(ToHex(script.sent), ToHex(ResultFrame(1, 248, 1, 0)));
}

TEST_F(Listening, Kept_bytes_survive_session) {
  const Bytes frame = Frame(1, 247, 0x0305);
  script.Give(Bytes(frame.begin(), frame.begin() + 9)).Give(Script::Read::Kind::kClosed);
  script.Give(Bytes(frame.begin() + 9, frame.end()));
  GiveStop();
  Run(2);
  EXPECT_EQ(ToHex(script.sent), ToHex(ResultFrame(1, 248, 0x0305, 0)));
}

TEST_F(Listening, the_exit_command_does_not_end_a_host_program) {
  script.Give(Frame(1, 247, 1)).Give(Frame(1, 2303, 2)).Give(Frame(1, 3, 3));
  GiveStop();
  Run(1);
  EXPECT_EQ(ToHex(script.sent),
            ToHex(ResultFrame(1, 248, 1, 0) + ResultFrame(1, 2304, 2, 0) + ResultFrame(1, 4, 3, 0)));
}

TEST_F(Listening, asks_a_silent_desktop_every_100_ms) {
  script.Give(Script::Read::Kind::kNothing).Give(Frame(1, 247, 1));
  GiveStop();
  Run(1);
  // One empty read, and the one that brings the stop.
  EXPECT_EQ(phone->GetClock().GetSlept(), std::chrono::milliseconds(200));
  EXPECT_EQ(phone->GetClock().GetSleepCount(), 2u);
}

TEST_F(Listening, shows_what_goes_wrong_while_it_waits) {
  phone.FailCall("select", 10050, 0, 2);
  phone.FailCall("accept", 10055);
  GiveStop();
  Run(1);
  EXPECT_EQ(phone.Boxes(),
            (std::vector<std::u16string>{u"CConnectionManager::CheckListeningSocket()|select(): 00002742",
                                         u"CConnectionManager::CheckListeningSocket()|select(): 00002742",
                                         u"CConnectionManager::AcceptConnection()|accept(): 00002747"}));
  EXPECT_EQ(agent.codes, (std::vector<std::uint32_t>{106, 105}));
}

TEST_F(Listening, an_interrupted_accept_ends_the_thread_without_a_word) {
  phone.FailCall("accept", 10004);
  Run(1);
  EXPECT_TRUE(agent.codes.empty());
  EXPECT_TRUE(phone.Boxes().empty());
}

TEST_F(Listening, an_owner_stops_a_thread_that_waits_for_desktops) {
  phone->SetThreads(handset::Threads::kReal);
  for (int round = 0; round < 100; ++round) {
    const WaitingDesktops waiting(*phone, 0);
    auto* connection = new CScriptedConnection(script, waiting.Listening());
    ASSERT_TRUE(connection->Construct());
    const auto stopped = std::make_unique<CAgentEngine>(&agent, connection);
    ASSERT_TRUE(stopped->Construct());
    ASSERT_TRUE(stopped->Start());
    for (int polls = round % 4; polls > 0; --polls) std::this_thread::sleep_for(std::chrono::microseconds(80));
    EXPECT_TRUE(stopped->Stop());
    stopped->WaitForExit();
  }
  EXPECT_TRUE(agent.codes.empty());
  EXPECT_TRUE(phone.Boxes().empty());
}

TEST_F(Listening, a_stop_before_the_start_is_seen_first) {
  Run(1, [](CAgentEngine& prepared) { prepared.SignalDone(); });
  EXPECT_TRUE(agent.codes.empty());
}

TEST_F(Listening, Kept_failed_read_swallows_stop) {
  script.Give(Script::Read::Kind::kFailed, [this] { engine->SignalDone(); });
  script.Give(Frame(1, 247, 1));
  GiveStop();
  Run(2);
  // The request to stop was spent on the failed read: the next desktop is served.
  EXPECT_EQ(agent.codes, (std::vector<std::uint32_t>{106, 105, 106, 105}));
  EXPECT_TRUE(phone.Boxes().empty());
  EXPECT_EQ(LastApiError(), nullptr);
}

TEST_F(Listening, a_write_that_fails_on_a_closed_connection_ends_the_session) {
  script.writes = {{Script::Write::Kind::kFailedClosed, 0}};
  script.Give(Frame(1, 247, 1)).Give(Frame(1, 247, 2));
  GiveStop();
  Run(2);
  EXPECT_EQ(agent.codes, (std::vector<std::uint32_t>{106, 105, 106, 105}));
  EXPECT_EQ(phone.Boxes(), (std::vector<std::u16string>{u"CConnectionManager::Write()|send(): 00002742"}));
  EXPECT_EQ(ToHex(script.sent), ToHex(ResultFrame(1, 248, 2, 0)));
}

TEST_F(Listening, start_and_stop_pass_the_connections_answer_on) {
  script.startAnswer = false;
  script.stopAnswer = false;
  const WaitingDesktops waiting(*phone, 1);
  auto* connection = new CScriptedConnection(script, waiting.Listening());
  ASSERT_TRUE(connection->Construct());
  engine = std::make_unique<CAgentEngine>(&agent, connection);
  ASSERT_TRUE(engine->Construct());
  EXPECT_FALSE(engine->Start());
  EXPECT_FALSE(engine->Stop());
  script.stopAnswer = true;
  EXPECT_TRUE(engine->Stop());
  script.startAnswer = true;
  phone.FailCall("ResumeThread", 6);
  EXPECT_FALSE(engine->Start());
  ASSERT_NE(LastApiError(), nullptr);
  EXPECT_EQ(std::u16string(LastApiError()->GetFunctionName()), u"ResumeThread");
  DropLastApiError();
  engine.reset();
}

}  // namespace
}  // namespace test
