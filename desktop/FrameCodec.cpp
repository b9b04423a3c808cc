#include "desktop/FrameCodec.h"

#include <algorithm>
#include <fmt/format.h>

#include "desktop/Failure.h"
#include "desktop/Wire.h"

namespace brelix {
namespace {

void Append16(Bytes& out, uint16_t value) {
  out.push_back(static_cast<uint8_t>(value >> 8));
  out.push_back(static_cast<uint8_t>(value));
}

void AppendText(Bytes& out, std::string_view text) { out.insert(out.end(), text.begin(), text.end()); }

}  // namespace

uint16_t Read16(ByteView bytes, size_t at) { return static_cast<uint16_t>(bytes[at] << 8 | bytes[at + 1]); }

uint32_t Read32(ByteView bytes, size_t at) { return uint32_t{Read16(bytes, at)} << 16 | Read16(bytes, at + 2); }

Bytes BuildRequest(uint16_t module, uint16_t command, ByteView data, uint16_t number) {
  const size_t room = wire::kMaxRequest - wire::kFrameOverhead;
  if (data.size() > room)
    throw Failure(Exit::kUsage,
                  fmt::format("{} bytes of data are too many: a request holds at most {}", data.size(), room));
  if (module >> 8 == wire::kStartMark[0])
    throw Failure(Exit::kUsage, fmt::format("module {} (0x{:04X}) cannot be asked: its first byte would be read as "
                                            "part of the start mark",
                                            module, module));
  Bytes frame;
  frame.reserve(wire::kFrameOverhead + data.size());
  AppendText(frame, wire::kStartMark);
  Append16(frame, module);
  Append16(frame, command);
  Append16(frame, static_cast<uint16_t>(data.size()));
  frame.insert(frame.end(), data.begin(), data.end());
  Append16(frame, number);
  AppendText(frame, wire::kEndMark);

  const auto end =
      std::search(frame.begin() + wire::kStartMark.size(), frame.end(), wire::kEndMark.begin(), wire::kEndMark.end());
  if (frame.end() - end != static_cast<ptrdiff_t>(wire::kEndMark.size()))
    throw Failure(Exit::kUsage, fmt::format("the request cannot be sent: it contains the end mark \"ZZZZ\" at byte "
                                            "{}, where the phone would cut it",
                                            end - frame.begin()));
  return frame;
}

uint16_t PacketNumbers::Next() {
  do {
    last_ = last_ == 0xFFFF ? 0xF000 : static_cast<uint16_t>(last_ + 1);
  } while ((last_ & 0xFF) == wire::kEndMark[0]);
  return last_;
}

void ReplyReader::Expect(uint16_t number) {
  number_ = number;
  skipped_ = 0;
  Forget();
}

void ReplyReader::Feed(ByteView bytes) { held_.insert(held_.end(), bytes.begin(), bytes.end()); }

void ReplyReader::Forget() {
  seen_ = 0;
  doubtful_.reset();
  vouched_for_.reset();
}

bool ReplyReader::MarkAt(size_t at, char letter) const {
  return at + 4 <= held_.size() &&
         std::all_of(held_.begin() + at, held_.begin() + at + 4, [&](uint8_t byte) { return byte == letter; });
}

// Brings the start mark to the front: the last one of a run, as an agent would read it. True once the byte behind the
// mark is there to end the run.
bool ReplyReader::Align() {
  if (aligned_) return true;
  size_t at = 0;
  while (at + 4 <= held_.size() && !MarkAt(at, wire::kStartMark[0])) at++;
  while (at + 5 <= held_.size() && MarkAt(at + 1, wire::kStartMark[0])) at++;
  held_.erase(held_.begin(), held_.begin() + at);
  skipped_ += at;
  if (skipped_ > wire::kMaxGarbage)
    throw Failure(Exit::kProtocol, fmt::format("{} bytes came that are no answer", skipped_));
  aligned_ = held_.size() > 4 && MarkAt(0, wire::kStartMark[0]);
  return aligned_;
}

// Goes through the bytes one by one, so that what is decided depends on their order alone and not on how they arrived.
std::optional<size_t> ReplyReader::FindEnd() {
  const size_t length = Read16(held_, 8);
  for (seen_ = std::max(seen_, wire::kFrameOverhead - 1); seen_ < held_.size();) {
    seen_++;
    const size_t last_four = seen_ - 4;
    if (last_four >= wire::kHeaderSize + 2 && MarkAt(last_four, wire::kEndMark[0])) {
      const size_t data = last_four - wire::kHeaderSize - 2;
      const bool ours = Read16(held_, last_four - 2) == number_;
      if (ours && (data & 0xFFFF) == length) return last_four;
      if (ours || data == length) doubtful_ = last_four;
    }
    if (!vouched_for_ && doubtful_ && *doubtful_ + 4 == last_four && MarkAt(last_four, wire::kStartMark[0]))
      vouched_for_ = doubtful_;
    if (vouched_for_ && seen_ >= length + wire::kFrameOverhead) return vouched_for_;
  }
  return std::nullopt;
}

Frame ReplyReader::Cut(size_t end_mark) {
  Frame frame{.module = Read16(held_, 4),
              .command = Read16(held_, 6),
              .length = Read16(held_, 8),
              .number = Read16(held_, end_mark - 2),
              .data = Bytes(held_.begin() + wire::kHeaderSize, held_.begin() + end_mark - 2)};
  held_.erase(held_.begin(), held_.begin() + end_mark + 4);
  aligned_ = false;
  Forget();
  return frame;
}

std::optional<Frame> ReplyReader::Next(LinkState state) {
  if (!Align() || held_.size() < wire::kFrameOverhead) return std::nullopt;
  if (auto end = FindEnd()) return Cut(*end);
  if (state == LinkState::kQuiet) {
    if (vouched_for_) return Cut(*vouched_for_);
    if (doubtful_ && *doubtful_ + 4 == held_.size()) return Cut(*doubtful_);
  }
  if (held_.size() > wire::kMaxReply)
    throw Failure(Exit::kProtocol, fmt::format("an answer of more than {} bytes without an end", wire::kMaxReply));
  return std::nullopt;
}

}  // namespace brelix
