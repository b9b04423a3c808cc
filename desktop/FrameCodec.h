// Frames as a desktop writes and reads them.
//
// Writing is strict, because an agent is not: it ends a request at the first end mark it sees and starts it at the last
// mark of a run of start marks. A request that an agent would cut elsewhere than meant is never built.
//
// Reading is by rule, because the length field of a reply is only 16 bits wide and not always right, and data may look
// like an end. At a start mark an end is a place where the number we wait for is followed by the end mark:
//   1. An end that fits the length field (equal to it modulo 65536) is taken as soon as it has arrived.
//   2. An end that does not fit is taken only when nothing contradicts it: a start mark follows directly and the place
//      the length field points to has arrived and is no end; or the link is quiet and the held bytes end right there.
//   3. A frame with another number, at the place its length field points to, is told apart the same way as in 2. and
//      handed out with its own number, for the caller to skip or to complain about.
// The outcome for a flowing link does not depend on how the bytes were split.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace brelix {

using Bytes = std::vector<uint8_t>;
using ByteView = std::span<const uint8_t>;

struct Frame {
  uint16_t module = 0;
  uint16_t command = 0;
  uint16_t length = 0;  // the field as sent; data.size() is what came
  uint16_t number = 0;
  Bytes data;
};

uint16_t Read16(ByteView bytes, size_t at);
uint32_t Read32(ByteView bytes, size_t at);

// Throws a usage failure for a request that an agent would not read as meant.
Bytes BuildRequest(uint16_t module, uint16_t command, ByteView data, uint16_t number);

// Packet numbers for our requests: a high byte of F0 to FF, which the phone's text never contains, and never the letter
// of the end mark. An end of one of our answers therefore does not occur inside a document.
class PacketNumbers {
 public:
  // Sessions that follow one another should not begin with the same number: late answers would look like ours.
  explicit PacketNumbers(uint16_t seed) : last_(static_cast<uint16_t>(0xF000 | seed)) {}
  uint16_t Next();
  // One of them, to build a request with whose number is not known yet.
  static constexpr uint16_t kAny = 0xF000;

 private:
  uint16_t last_;
};

class ReplyReader {
 public:
  enum class LinkState { kFlowing, kQuiet };

  // Bytes held already are looked at anew under the new number.
  void Expect(uint16_t number);
  void Feed(ByteView bytes);
  // The next complete frame, if there is one. Throws a protocol failure once the bounds are exceeded.
  std::optional<Frame> Next(LinkState state);
  // What is held of a frame that is not whole yet.
  ByteView rest() const { return held_; }

 private:
  bool Align();
  std::optional<size_t> FindEnd();
  Frame Cut(size_t end_mark);
  void Forget();
  bool MarkAt(size_t at, char letter) const;

  Bytes held_;
  uint16_t number_ = 0;
  bool aligned_ = false;
  size_t skipped_ = 0;
  size_t seen_ = 0;                    // bytes of the frame that the search has been through
  std::optional<size_t> doubtful_;     // end mark of the latest end under rule 2 or 3
  std::optional<size_t> vouched_for_;  // the first of those that a start mark follows
};

}  // namespace brelix
