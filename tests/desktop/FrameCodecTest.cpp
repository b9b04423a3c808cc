#include <gtest/gtest.h>
#include <random>

#include "desktop/Failure.h"
#include "desktop/FrameCodec.h"

namespace brelix {
namespace {

constexpr uint16_t kNumber = 0xF101;
const std::string kNumberBytes = "\xF1\x01";

Bytes AsBytes(const std::string& text) { return Bytes(text.begin(), text.end()); }
std::string AsText(const Bytes& bytes) { return std::string(bytes.begin(), bytes.end()); }

std::string Two(size_t value) { return {static_cast<char>(value >> 8), static_cast<char>(value)}; }

// A reply as an agent would send it, except that its length field is free.
std::string Reply(const std::string& data, size_t length, const std::string& number = kNumberBytes) {
  return "XXXX" + Two(1) + Two(16) + Two(length) + data + number + "ZZZZ";
}
std::string Reply(const std::string& data) { return Reply(data, data.size()); }

// Everything the reader makes of a stream that arrives in the given pieces.
std::vector<std::string> ReadAll(const std::vector<std::string>& pieces, bool quiet_at_the_end) {
  ReplyReader reader;
  reader.Expect(kNumber);
  std::vector<std::string> out;
  const auto take = [&](ReplyReader::LinkState state) {
    while (auto frame = reader.Next(state)) out.push_back(Two(frame->number) + AsText(frame->data));
  };
  for (const std::string& piece : pieces) {
    reader.Feed(AsBytes(piece));
    take(ReplyReader::LinkState::kFlowing);
  }
  if (quiet_at_the_end) take(ReplyReader::LinkState::kQuiet);
  return out;
}

std::vector<std::string> ByteByByte(const std::string& stream) {
  std::vector<std::string> pieces;
  for (const char c : stream) pieces.emplace_back(1, c);
  return pieces;
}

Exit CodeOf(const std::function<void()>& act) {
  try {
    act();
  } catch (const Failure& failure) {
    return failure.code();
  }
  return Exit::kOk;
}

TEST(Request, HasTheLayoutOfTheWire) {
  const Bytes expected = {'X', 'X', 'X', 'X', 0, 3, 1, 1, 0, 2, 'A', 0xFF, 0xF0, 0x07, 'Z', 'Z', 'Z', 'Z'};
  EXPECT_EQ(BuildRequest(3, 0x101, AsBytes("A\xFF"), 0xF007), expected);
}

TEST(Request, IsRefusedWhereAnAgentWouldCutItElsewhere) {
  struct Row {
    uint16_t module, command;
    std::string data;
    uint16_t number;
    bool sendable;
  };
  const Row rows[] = {
      {1, 1, "XXXX ZZZ x", kNumber, true},
      {1, 1, std::string(16368, 'a'), kNumber, true},
      {1, 1, std::string(16369, 'a'), kNumber, false},
      {0x5801, 1, "", kNumber, false},
      {0x5858, 1, "", kNumber, false},
      {0x0158, 0x5858, "", kNumber, true},
      {0x5A5A, 0x5A5A, "", kNumber, false},
      {1, 0x5A5A, "", kNumber, true},
      {1, 1, "ZZZZ", kNumber, false},
      {1, 1, "abcZZZZdef", kNumber, false},
      {1, 1, "ZZ", 0x5A5A, false},
      {1, 1, "", 0xF15A, false},
  };
  for (const Row& row : rows) {
    const Exit code = CodeOf([&] { BuildRequest(row.module, row.command, AsBytes(row.data), row.number); });
    EXPECT_EQ(code, row.sendable ? Exit::kOk : Exit::kUsage)
        << row.module << '/' << row.command << ' ' << row.data.substr(0, 20) << ' ' << row.number;
  }
}

TEST(Request, NumbersStayClearOfTextAndEndMark) {
  PacketNumbers numbers(0x0FFF);
  uint16_t before = 0;
  for (int i = 0; i < 10000; i++) {
    const uint16_t number = numbers.Next();
    ASSERT_GE(number, 0xF000);
    ASSERT_NE(number & 0xFF, 'Z');
    ASSERT_NE(number, before);
    before = number;
  }
}

struct Stream {
  const char* name;
  std::string bytes;
  std::vector<std::string> frames;  // number and data
};

std::vector<Stream> Streams() {
  const std::string alike = "a" + kNumberBytes + "ZZZZ", next = Reply("next", 4, "\xF1\x02");
  const std::string follower = "\xF1\x02next";
  const auto ours = [](const std::string& data) { return kNumberBytes + data; };
  return {
      {"no data", Reply(""), {ours("")}},
      {"end marks in the data", Reply("ZZZZ-ZZZZZ"), {ours("ZZZZ-ZZZZZ")}},
      {"number and end mark in the data", Reply(alike + alike), {ours(alike + alike)}},
      {"a whole frame in the data", Reply("b" + Reply("c") + "d"), {ours("b" + Reply("c") + "d")}},
      {"whole frames in a row in the data", Reply(Reply("c") + Reply("d")), {ours(Reply("c") + Reply("d"))}},
      {"data that ends like the mark begins", Reply("ZZZ"), {ours("ZZZ")}},
      {"garbage first", "XXX?ZZZZ" + Reply("a"), {ours("a")}},
      {"a run of start marks first", "XXXXXXX" + Reply("a"), {ours("a")}},
      {"length says less", Reply("sixteen bytes :)", 3), {ours("sixteen bytes :)")}},
      {"length says more", Reply("short", 500), {ours("short")}},
      {"length says less, another follows", Reply("sixteen bytes :)", 3) + next, {ours("sixteen bytes :)"), follower}},
      {"length says more, another follows", Reply("a", 12) + next, {ours("a"), follower}},
      {"wrong length, look-alike inside", Reply("x" + alike + "y", 3), {ours("x" + alike + "y")}},
      {"another number first", Reply("old", 3, "\xF0\x09") + Reply("new"), {"\xF0\x09old", ours("new")}},
      {"only another number", Reply("old", 3, "\xF0\x09"), {"\xF0\x09old"}},
      {"broken off", Reply("broken off").substr(0, 24), {}},
      {"broken off inside the end mark", Reply("a").substr(0, 16), {}},
  };
}

TEST(ReplyReader, FindsFramesWhereverTheStreamIsSplit) {
  for (const Stream& stream : Streams()) {
    EXPECT_EQ(ReadAll({stream.bytes}, true), stream.frames) << stream.name;
    EXPECT_EQ(ReadAll(ByteByByte(stream.bytes), true), stream.frames) << stream.name;
    for (size_t at = 1; at < stream.bytes.size(); at++)
      EXPECT_EQ(ReadAll({stream.bytes.substr(0, at), stream.bytes.substr(at)}, true), stream.frames)
          << stream.name << " split at " << at;
  }
}

TEST(ReplyReader, ReadsDocumentsLongerThanTheirLengthField) {
  for (const size_t size : {size_t{65535}, size_t{65536}, size_t{70000}, size_t{929776}}) {
    std::string data(size, 'd');
    data.replace(100, 4, "ZZZZ");
    data.replace(5000, 6, kNumberBytes + "ZZZZ");  // no phone text has this, but rule 2 must hold it back
    const std::string stream = Reply(data, size & 0xFFFF);
    const std::vector<std::string> expected = {kNumberBytes + data};
    EXPECT_TRUE(ReadAll({stream}, false) == expected) << size;
    std::vector<std::string> pieces;
    for (size_t at = 0; at < stream.size(); at += 1003) pieces.push_back(stream.substr(at, 1003));
    EXPECT_TRUE(ReadAll(pieces, false) == expected) << size;
  }
}

TEST(ReplyReader, DecidesDoubtfulEndsOnlyWhenTheLinkIsQuiet) {
  for (const std::string& stream : {Reply("sixteen bytes :)", 3), Reply("old", 3, "\xF0\x09")}) {
    EXPECT_TRUE(ReadAll({stream}, false).empty());
    EXPECT_EQ(ReadAll({stream}, true).size(), 1u);
    EXPECT_TRUE(ReadAll({stream + "more"}, true).empty());
  }
}

TEST(ReplyReader, GivesTheSameForRandomStreamsHoweverTheyArrive) {
  std::mt19937 random(7);
  const std::string letters[] = {"X", "XXXX", "Z", "ZZZZ", kNumberBytes, std::string(1, '\0'), Two(1), "a"};
  int frames = 0;
  for (int round = 0; round < 20000; round++) {
    std::string stream = round % 2 ? "XXXX" + Two(1) + Two(2) + Two(random() % 12) : "";
    for (int i = random() % 24; i >= 0; i--) stream += letters[random() % std::size(letters)];
    const auto whole = ReadAll({stream}, true);
    frames += static_cast<int>(whole.size());
    ASSERT_EQ(ReadAll(ByteByByte(stream), true), whole) << testing::PrintToString(AsBytes(stream));
  }
  EXPECT_GT(frames, 500) << "the streams are too poor to show anything";
}

TEST(ReplyReader, IsBounded) {
  for (const std::string& start : {std::string("no mark"), std::string("XXXX\0\1\0\2\0\0", 10), std::string("X")}) {
    ReplyReader reader;
    reader.Expect(kNumber);
    reader.Feed(AsBytes(start));
    const Bytes more(4096, start == "X" ? 'X' : '.');
    Exit code = Exit::kOk;
    size_t held = 0;
    for (int i = 0; i < 1000 && code == Exit::kOk; i++) {
      reader.Feed(more);
      held = std::max(held, reader.rest().size());
      code = CodeOf([&] { reader.Next(ReplyReader::LinkState::kFlowing); });
    }
    EXPECT_EQ(code, Exit::kProtocol) << start;
    EXPECT_LE(held, size_t{1100000});
  }
}

}  // namespace
}  // namespace brelix
