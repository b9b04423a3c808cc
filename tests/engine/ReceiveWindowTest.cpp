#include <cstring>
#include <gtest/gtest.h>
#include <memory>
#include <rapidcheck.h>

#include "agent/engine/ReceiveWindow.h"
#include "tests/support/Bytes.h"

namespace test {
namespace {

// The search as one would write it without a thought for time: the buffer is looked at from its start each time.
class PlainCutter {
 public:
  std::size_t Room() const { return wire::kReceiveBufSize - m_held.size(); }
  void Receive(const std::uint8_t* bytes, std::size_t count) { m_held.insert(m_held.end(), bytes, bytes + count); }
  const Bytes& Held() const { return m_held; }

  Bytes Cut() {
    if (m_held.size() < 16) return {};
    std::size_t start = 0;
    while (start + 4 <= m_held.size() && !MarkAt(start, "XXXX")) ++start;
    if (start + 4 > m_held.size()) return KeepLast4();
    std::size_t after = start + 1;
    while (after + 4 <= m_held.size() && MarkAt(after, "XXXX")) ++after;
    if (after + 4 <= m_held.size()) {
      m_held.erase(m_held.begin(), m_held.begin() + static_cast<std::ptrdiff_t>(after - 1));
      if (m_held.size() < 16) return {};
    }
    for (std::size_t end = 4; end + 4 <= m_held.size(); ++end) {
      if (!MarkAt(end, "ZZZZ")) continue;
      const auto cut = m_held.begin() + static_cast<std::ptrdiff_t>(end + 4);
      Bytes frame(m_held.begin(), cut);
      m_held.erase(m_held.begin(), cut);
      return frame;
    }
    return Room() == 0 ? KeepLast4() : Bytes{};
  }

 private:
  bool MarkAt(std::size_t at, const char* mark) const { return std::memcmp(m_held.data() + at, mark, 4) == 0; }
  Bytes KeepLast4() {
    m_held.erase(m_held.begin(), m_held.end() - 4);
    return {};
  }
  Bytes m_held;
};

// Feeds the stream in pieces of the given sizes (repeated) to both and compares after each.
void ExpectSameFrames(const Bytes& stream, const std::vector<std::size_t>& pieces) {
  PlainCutter plain;
  const auto window = std::make_unique<CReceiveWindow>();
  std::array<std::uint8_t, wire::kPacketBufSize> packet{};
  std::size_t piece = 0;
  for (std::size_t at = 0; at < stream.size();) {
    const std::span<std::uint8_t> room = window->Room();
    RC_ASSERT(room.size() == plain.Room());
    const std::size_t count = std::min({pieces[piece++ % pieces.size()], stream.size() - at, room.size()});
    std::copy_n(stream.begin() + static_cast<std::ptrdiff_t>(at), count, room.begin());
    window->Received(static_cast<std::uint32_t>(count));
    plain.Receive(stream.data() + at, count);
    at += count;

    const Bytes expected = plain.Cut();
    const std::uint32_t length = window->CutFrame(packet);
    RC_ASSERT(Bytes(packet.begin(), packet.begin() + length) == expected);
    RC_ASSERT(window->Held() == plain.Held().size());
  }
}

// Pieces that streams in the field, and hostile ones, are made of.
rc::Gen<Bytes> StreamPiece() {
  const auto run = [](std::uint8_t byte) {
    return rc::gen::map(rc::gen::inRange(1, 12),
                        [byte](int count) { return Bytes(static_cast<std::size_t>(count), byte); });
  };
  return rc::gen::weightedOneOf<Bytes>({
      {3, run('X')},
      {3, run('Z')},
      {2, rc::gen::container<Bytes>(rc::gen::elementOf(Bytes{'X', 'Z', 0, 1, 0x41}))},
      {2, rc::gen::map(rc::gen::container<Bytes>(rc::gen::arbitrary<std::uint8_t>()),
                       [](const Bytes& data) { return Frame(3, 9, 0x1234, data); })},
      {1, rc::gen::map(rc::gen::inRange(1, 18000),
                       [](int count) { return Bytes(static_cast<std::size_t>(count), 0x41); })},
      {1, rc::gen::map(rc::gen::inRange(16370, 16390),
                       [](int count) { return Bytes(static_cast<std::size_t>(count), 'X'); })},
  });
}

TEST(ReceiveWindow, cuts_the_same_frames_as_the_plain_search_whatever_the_splits) {
  EXPECT_TRUE(rc::check("frames equal", [] {
    Bytes stream;
    for (const Bytes& piece : *rc::gen::container<std::vector<Bytes>>(StreamPiece())) stream = stream + piece;
    const auto pieces = *rc::gen::nonEmpty(rc::gen::container<std::vector<std::size_t>>(
        rc::gen::oneOf(rc::gen::inRange<std::size_t>(1, 40), rc::gen::just<std::size_t>(16384))));
    ExpectSameFrames(stream, pieces);
    if (stream.size() < 4000) ExpectSameFrames(stream, {1});
    // Every split in two, and the rest in one piece.
    for (std::size_t split = 1; stream.size() < 200 && split < stream.size(); ++split) {
      ExpectSameFrames(stream, {split, stream.size()});
    }
  }));
}

// The run of start marks stays known from one cut to the next.
TEST(ReceiveWindow, frames_out_of_garbage_before_an_open_run_are_the_plain_ones) {
  Bytes stream;
  for (int i = 0; i < 200; ++i) stream = stream + FromText("abcdZZZZ");
  stream = stream + Bytes(400, 'X') + Bytes(16, 0);
  ExpectSameFrames(stream, {1600, 1});
}

struct CutCase {
  const char* name;
  Bytes received;
  Bytes frame;
  std::uint32_t heldAfter;
};

TEST(ReceiveWindow, drops_garbage_and_keeps_what_may_be_the_start_of_a_frame) {
  const Bytes frame = Frame(1, 247, 0x0102);
  const CutCase cases[] = {
      {"fewer than 16 bytes are not looked at", FromText("garbageXXXXYYY"), {}, 14},
      {"garbage leaves four bytes", FromText("0123456789abcdef"), {}, 4},
      {"garbage in front is dropped", FromText("garbage") + frame, frame, 0},
      {"two frames: one is cut, one stays", frame + frame, frame, 16},
      {"the last start mark of a run counts", FromText("XXXXXX") + frame, frame, 0},
      {"too little is left behind a resynchronisation", FromText("0123456789XXXX") + Bytes(4, 1), {}, 8},
  };
  for (const CutCase& row : cases) {
    SCOPED_TRACE(row.name);
    CReceiveWindow window;
    std::array<std::uint8_t, wire::kPacketBufSize> packet{};
    std::copy(row.received.begin(), row.received.end(), window.Room().begin());
    window.Received(static_cast<std::uint32_t>(row.received.size()));
    const std::uint32_t length = window.CutFrame(packet);
    EXPECT_EQ(ToHex(Bytes(packet.begin(), packet.begin() + length)), ToHex(row.frame));
    EXPECT_EQ(window.Held(), row.heldAfter);
  }
}

Bytes CutFrom(const Bytes& received) {
  const auto window = std::make_unique<CReceiveWindow>();
  std::array<std::uint8_t, wire::kPacketBufSize> packet{};
  std::copy(received.begin(), received.end(), window->Room().begin());
  window->Received(static_cast<std::uint32_t>(received.size()));
  const std::uint32_t length = window->CutFrame(packet);
  return {packet.begin(), packet.begin() + length};
}

TEST(ReceiveWindow, Kept_first_end_mark_cuts) {
  EXPECT_EQ(CutFrom(Frame(3, 9, 1, FromText("abZZZZcd"))),
            FromText("XXXX") + FromHex("0003 0009 0008") + FromText("abZZZZ"));
}

TEST(ReceiveWindow, Kept_garbage_before_open_run_stays) {
  // The run of start marks reaches the end: the garbage stays, and its end mark makes a frame of it.
  EXPECT_EQ(CutFrom(FromText("abcdefZZZZghXXXX")), FromText("abcdefZZZZ"));
  EXPECT_EQ(CutFrom(FromText("abcdefghijklXXXX")), Bytes{});
}

TEST(ReceiveWindow, a_full_buffer_without_a_frame_recovers) {
  const auto window = std::make_unique<CReceiveWindow>();
  std::array<std::uint8_t, wire::kPacketBufSize> packet{};
  const Bytes endless = FromText("XXXX") + Bytes(wire::kReceiveBufSize - 4, 0x41);
  std::copy(endless.begin(), endless.end(), window->Room().begin());
  window->Received(wire::kReceiveBufSize);
  EXPECT_EQ(window->CutFrame(packet), 0u);
  EXPECT_EQ(window->Held(), 4u);
  const Bytes next = Frame(1, 1, 7);
  std::copy(next.begin(), next.end(), window->Room().begin());
  window->Received(static_cast<std::uint32_t>(next.size()));
  EXPECT_EQ(window->CutFrame(packet), 16u);
}

}  // namespace
}  // namespace test
