// Lies about frames: which reply comes, when, in what shape, and whether at all.
#include <algorithm>

#include "programs/phone/hostile/Liar.h"

namespace brelix_phone::hostile {
namespace {

// What phones say when something fails, and what none says.
constexpr std::uint32_t kCodes[] = {1,          2,          3,          5,          6,          18,
                                    32,         234,        255,        0x80004005, 0x8007000E, 0x80070057,
                                    0x8004010F, 0xFFFFFFFF, 0x7FFFFFFF, 0x80000000, 0xDEADBEEF};

constexpr std::size_t kMostOfAReply = std::size_t{1} << 20;

bool Always(const Reply&, const Memory&) { return true; }
bool HasData(const Reply& reply, const Memory&) { return !reply.data.empty(); }
bool HasOneBefore(const Reply&, const Memory& memory) { return memory.before.has_value(); }

void SendNow(Telling& telling, std::string bytes) { telling.acts.push_back({std::move(bytes)}); }

// What the desktop waits for is not sent any more, whatever was said in its place.
void SendInstead(Telling& telling, std::string bytes) {
  SendNow(telling, std::move(bytes));
  telling.replaced = true;
}

void HangUp(Telling& telling, std::string last) {
  telling.acts.push_back({std::move(last), 0, true});
  telling.replaced = true;
}

void Code(Telling& telling) { telling.reply.data = Bytes(telling.random.OneOf(kCodes), 4); }

void CodeBeforeData(Telling& telling) { telling.reply.SetResult(telling.random.OneOf(kCodes)); }

void Refusal(Telling& telling) { telling.reply.data.clear(); }

void NobodyServes(Telling& telling) {
  telling.reply.module = 1;
  telling.reply.command = 0;
  telling.reply.data.clear();
}

void OtherModule(Telling& telling) { telling.reply.module = static_cast<std::uint16_t>(telling.random.Below(9)); }

void OtherCommand(Telling& telling) {
  telling.reply.command = static_cast<std::uint16_t>(telling.reply.command + telling.random.Below(5) - 2);
}

void OtherNumber(Telling& telling) {
  telling.reply.number = static_cast<std::uint16_t>(telling.reply.number + 1 + telling.random.Below(0xFFFF));
}

void Twice(Telling& telling) { SendNow(telling, telling.reply.Frame()); }

void OneOfBefore(Telling& telling) { SendNow(telling, telling.memory.before->Frame()); }

// The data of the reply before, under this one's name.
void DataOfBefore(Telling& telling) { telling.reply.data = telling.memory.before->data; }

void BehindTheNext(Telling& telling) {
  telling.memory.held = telling.reply;
  telling.missing = true;
}

void Missing(Telling& telling) { telling.missing = true; }

void CutShort(Telling& telling) { telling.reply.data.resize(telling.random.Below(telling.reply.data.size())); }

void Noise(Telling& telling) { telling.reply.data = telling.random.Noise(telling.random.Below(4096)); }

void FlippedBits(Telling& telling) {
  std::string& data = telling.reply.data;
  for (std::size_t left = 1 + telling.random.Below(8); left > 0; --left)
    data[telling.random.Below(data.size())] ^= static_cast<char>(1 << telling.random.Below(8));
}

void LengthField(Telling& telling) {
  constexpr std::uint16_t kLengths[] = {0, 1, 3, 4, 0x7FFF, 0x8000, 0xFFFE, 0xFFFF};
  SendInstead(telling, telling.reply.Frame(telling.random.OneOf(kLengths)));
}

void Garbage(Telling& telling) {
  std::string garbage = telling.random.Noise(1 + telling.random.Below(40000));
  if (telling.random.OneIn(2)) garbage += "XXXXXXXX";
  SendNow(telling, garbage);
}

void Flood(Telling& telling) {
  const std::string noise = telling.random.Noise(1 << 16);
  for (int piece = 0; piece < 40; ++piece) SendNow(telling, noise);
}

// What looks like the end of this very frame, and like the beginning of another.
void MarksInside(Telling& telling) {
  const std::string marks = Bytes(telling.reply.number, 2) + std::string(kEnd) + std::string(kStart);
  std::string& data = telling.reply.data;
  data.insert(telling.random.Below(data.size() + 1), marks);
}

void NoEndMark(Telling& telling) {
  std::string frame = telling.reply.Frame();
  frame.resize(frame.size() - kEnd.size());
  SendInstead(telling, frame);
}

void HangUpBefore(Telling& telling) { HangUp(telling, {}); }

void HangUpWithin(Telling& telling) {
  const std::string frame = telling.reply.Frame();
  HangUp(telling, frame.substr(0, 1 + telling.random.Below(frame.size() - 1)));
}

void HangUpBehind(Telling& telling) { HangUp(telling, telling.reply.Frame()); }

// Piece by piece, each after a while; never more than some tenths of a second in all.
void Dribble(Telling& telling) {
  const std::string frame = telling.reply.Frame();
  const std::size_t piece = std::max<std::size_t>(1, frame.size() / 40);
  for (std::size_t at = 0; at < frame.size(); at += piece) telling.acts.push_back({frame.substr(at, piece), 5, false});
  telling.replaced = true;
}

void Late(Telling& telling) { telling.acts.push_back({{}, static_cast<int>(50 + telling.random.Below(600)), false}); }

void Huge(Telling& telling) {
  const std::string filling(1000, static_cast<char>('a' + telling.random.Below(26)));
  std::string& data = telling.reply.data;
  const std::size_t size = telling.random.Below(2 * kMostOfAReply);
  const std::size_t at = telling.random.Below(data.size() + 1);
  std::string more;
  while (more.size() < size) more += filling;
  data.insert(at, more);
}

// One row a line.
// clang-format off
constexpr Lie kFrameLies[] = {
    {"a code of failure", 6, Always, Code},
    {"a code before the data", 3, HasData, CodeBeforeData},
    {"a refusal", 2, Always, Refusal},
    {"the default reply", 2, Always, NobodyServes},
    {"another module", 1, Always, OtherModule},
    {"another command", 1, Always, OtherCommand},
    {"another packet number", 1, Always, OtherNumber},
    {"the reply twice", 2, Always, Twice},
    {"the reply before once more", 2, HasOneBefore, OneOfBefore},
    {"the data of the reply before", 3, HasOneBefore, DataOfBefore},
    {"the reply behind the next", 1, Always, BehindTheNext},
    {"no reply", 1, Always, Missing},
    {"data cut short", 6, HasData, CutShort},
    {"noise for data", 3, Always, Noise},
    {"flipped bits", 6, HasData, FlippedBits},
    {"a wrong length field", 2, Always, LengthField},
    {"garbage before the frame", 2, Always, Garbage},
    {"a flood of garbage", 1, Always, Flood},
    {"marks inside the data", 2, Always, MarksInside},
    {"no end mark", 1, Always, NoEndMark},
    {"hanging up before the reply", 1, Always, HangUpBefore},
    {"hanging up within the reply", 1, Always, HangUpWithin},
    {"hanging up behind the reply", 1, Always, HangUpBehind},
    {"a reply in drops", 1, Always, Dribble},
    {"a late reply", 1, Always, Late},
    {"a huge reply", 1, Always, Huge},
};
// clang-format on

}  // namespace

std::span<const Lie> FrameLies() { return kFrameLies; }

}  // namespace brelix_phone::hostile
