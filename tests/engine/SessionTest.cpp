// One session over a scripted connection: gating, reading, writing and the end of it, to the byte.
#include <gtest/gtest.h>

#include "agent/engine/ErrorRecord.h"
#include "tests/support/EngineRun.h"
#include "tests/support/TestPhone.h"

namespace test {
namespace {

Bytes DefaultReply(std::uint16_t number) { return Frame(1, 0, number); }

TEST(Gating, only_the_handshake_is_served_before_it) {
  TestPhone phone;
  EXPECT_EQ(ToHex(Answer(Frame(3, 9, 7, U32(1)))), ToHex(Frame(3, 10, 7)));
  EXPECT_EQ(ToHex(Answer(Frame(1, 1, 0xABCD))), ToHex(Frame(1, 2, 0xABCD)));
  EXPECT_EQ(ToHex(Answer(Frame(0x1234, 0xFFFF, 7))), ToHex(Frame(0x1234, 0, 7)));
  EXPECT_EQ(ToHex(Answer(Frame(1, 247, 7))), ToHex(ResultFrame(1, 248, 7, 0)));
}

TEST(Gating, data_modules_answer_only_in_an_opened_session) {
  TestPhone phone;
  const Bytes allowed = ResultFrame(1, 248, 1, 0);
  EXPECT_EQ(ToHex(Answer(Frame(1, 247, 1) + Frame(3, 5, 2))), ToHex(allowed + DefaultReply(2)));
  const Bytes closed = Frame(1, 247, 1) + Frame(1, 1, 2) + Frame(1, 3, 3) + Frame(4, 5, 4);
  const Bytes reply = Answer(closed);
  EXPECT_EQ(ToHex(Bytes(reply.end() - 36, reply.end())), ToHex(ResultFrame(1, 4, 3, 0) + DefaultReply(4)));
}

TEST(Gating, unknown_modules_and_commands_get_the_default_reply) {
  TestPhone phone;
  const Bytes open = Answer(HandshakeAndOpen());
  for (const Bytes& unknown : {Frame(2, 1, 9), Frame(7, 1, 9), Frame(1, 5, 9), Frame(1, 4, 9), Frame(1, 449, 9),
                               Frame(5, 2, 9), Frame(6, 21, 9), Frame(3, 2, 9), Frame(4, 0xFFFF, 9)}) {
    SCOPED_TRACE(ToHex(unknown));
    EXPECT_EQ(ToHex(Answer(HandshakeAndOpen() + unknown)), ToHex(open + DefaultReply(9)));
  }
}

TEST(Gating, Kept_handshake_allows_even_when_refused) {
  TestPhone phone;
  const Bytes open = Answer(HandshakeAndOpen());
  EXPECT_EQ(ToHex(Answer(HandshakeAndOpen() + Frame(1, 247, 3) + Frame(1, 3, 4))),
            ToHex(open + ResultFrame(1, 248, 3, 0xFFFFFFFF) + ResultFrame(1, 4, 4, 0)));
}

TEST(Framing, Kept_packet_number_by_length_field) {
  TestPhone phone;
  // Cut at the first end mark: the number is read behind it, where an earlier frame's bytes still are.
  const Bytes first = Frame(1, 247, 0x0001, FromHex("00 00 00 00 00 00 00 00 11 22 33 44"));
  const Bytes cut = FrameWithLength(1, 3, 8, 0x0002, FromHex("5a 5a 5a 5a"));
  const Bytes replies = Answer(first + cut);
  EXPECT_EQ(ToHex(replies), ToHex(ResultFrame(1, 248, 1, 0) + ResultFrame(1, 4, 0x1122, 0)));
}

TEST(Framing, a_number_beyond_the_packet_buffer_is_0) {
  TestPhone phone;
  for (const std::uint16_t length : {16372, 16373, 16374, 0xFFFF}) {
    SCOPED_TRACE(length);
    EXPECT_EQ(ToHex(Answer(FrameWithLength(1, 247, length, 0x5678, {}))), ToHex(ResultFrame(1, 248, 0, 0)));
  }
}

TEST(Framing, the_exit_command_ends_with_the_default_reply) {
  TestPhone phone;
  Script script;
  script.Give(Frame(1, 247, 1) + Frame(1, 2303, 2) + Frame(1, 247, 3));
  RunAlone(script);
  EXPECT_EQ(ToHex(script.sent), ToHex(ResultFrame(1, 248, 1, 0) + DefaultReply(2)));
}

TEST(Reading, without_an_agent_asks_for_no_byte_that_may_not_come) {
  TestPhone phone;
  Script script;
  const Bytes frame = Frame(1, 247, 1, FromHex("aabb"));
  script.Give(Bytes(frame.begin(), frame.begin() + 10)).Give(Bytes(frame.begin() + 10, frame.end()));
  RunAlone(script);
  EXPECT_EQ(script.readSizes, (std::vector<std::int32_t>{16, 6, 1, 1, 16}));
  EXPECT_EQ(ToHex(script.sent), ToHex(ResultFrame(1, 248, 1, 0)));
  // A short frame and nothing else are waited for in steps of 100 ms.
  EXPECT_EQ(phone->GetClock().GetSlept(), std::chrono::milliseconds(100));
}

TEST(Reading, a_failure_without_a_record_is_tried_again) {
  TestPhone phone;
  Script script;
  script.Give(Script::Read::Kind::kFailed, {}, false).Give(Script::Read::Kind::kNothing).Give(Frame(1, 247, 1));
  RunAlone(script);
  EXPECT_EQ(ToHex(script.sent), ToHex(ResultFrame(1, 248, 1, 0)));
  EXPECT_TRUE(phone.Boxes().empty());
}

TEST(Reading, a_failure_with_a_record_is_shown_and_the_session_goes_on) {
  TestPhone phone;
  Script script;
  script.Give(Script::Read::Kind::kFailed).Give(Frame(1, 247, 1));
  RunAlone(script);
  EXPECT_EQ(ToHex(script.sent), ToHex(ResultFrame(1, 248, 1, 0)));
  EXPECT_EQ(phone.Boxes(), (std::vector<std::u16string>{u"CConnectionManager::Read()|recv(): 00002742"}));
}

using Write = Script::Write;

Script RunWithWrites(std::deque<Write> writes) {
  Script script;
  script.writes = std::move(writes);
  script.Give(Frame(1, 247, 1) + Frame(1, 3, 2));
  RunAlone(script);
  return script;
}

const Bytes kFirst = ResultFrame(1, 248, 1, 0);  // 20 bytes
const Bytes kSecond = ResultFrame(1, 4, 2, 0);

TEST(Writing, Kept_half_write) {
  TestPhone phone;
  const Script script = RunWithWrites({{Write::Kind::kCount, 10}});
  EXPECT_EQ(ToHex(script.sent), ToHex(Bytes(kFirst.begin(), kFirst.begin() + 10) + kSecond));
}

TEST(Writing, Kept_repeated_write_restarts) {
  TestPhone phone;
  // 20 asked, 4 taken; 16 asked, from the start of the frame, 0 taken; 16 asked, 12 taken; 4 asked and taken.
  const Script script = RunWithWrites({{Write::Kind::kCount, 4}, {Write::Kind::kCount, 0}, {Write::Kind::kCount, 12}});
  EXPECT_EQ(script.writeSizes, (std::vector<std::int32_t>{20, 16, 16, 4, 20}));
  const auto start = [](std::size_t count) { return Bytes(kFirst.begin(), kFirst.begin() + count); };
  EXPECT_EQ(ToHex(script.sent), ToHex(start(4) + start(12) + start(4) + kSecond));
}

TEST(Writing, a_failure_is_shown_and_loses_one_reply_only) {
  TestPhone phone;
  const Script script = RunWithWrites({{Write::Kind::kFailed, 0}});
  EXPECT_EQ(ToHex(script.sent), ToHex(kSecond));
  EXPECT_EQ(phone.Boxes(), (std::vector<std::u16string>{u"CConnectionManager::Write()|send(): 00002742"}));
}

TEST(Writing, a_closed_peer_ends_the_session) {
  TestPhone phone;
  EXPECT_TRUE(RunWithWrites({{Write::Kind::kClosed, 0}}).sent.empty());
  EXPECT_TRUE(phone.Boxes().empty());
}

}  // namespace
}  // namespace test
