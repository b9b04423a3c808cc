#include "desktop/Stream.h"

#include <algorithm>
#include <fmt/format.h>

#include "desktop/Wire.h"

namespace brelix {
namespace {

using std::chrono::milliseconds;

// How much filler. All positions are bytes of the stream, filler included; request n begins at S(n), and the agent
// holds at most 16384 bytes (kMaxRequest).
//
// A round of the agent is: read what the buffer has room for; if that was nothing, sleep; cut one request off the front
// and answer it. When it cuts n, the held bytes begin no later than S(n), so it has read no further than S(n) + 16384.
// Its next read finds something, and the request behind is answered without a sleep, if at least
//
//     S(n) + 16385
//
// bytes have been sent (kReach). With n the last request, that read drops what is left of the filler: of bytes
// without a start mark the agent keeps 4, and fewer than 12 more stay unlooked-at behind them. All are zeros in front
// of the next start mark, which the agent drops as garbage.
//
// * Behind the last request: 16385 less its own size, once. It costs as much whether two requests wait or a thousand,
//   so a request that waits alone gets none: its own arrival is what the agent needs.
// * In between, requests are filler for the ones before them, and the more of them are under way the less filler is
//   needed: 1093 of 20 bytes need none, 400 need 35 bytes each. Sent is what keeps the first quarter of those under way
//   within reach, and no fewer than kFewest, for that is what the agent answers while an answer comes here and the next
//   request gets there. At first, when answers come together that were waited for together, it is the first half.
// * A run of filler never reaches 16380 bytes (Session::QueueFiller sees to it). An agent that held that many with
//   exactly a start mark behind them would find no room and nothing to drop.
//
// The window counts requests; the packet numbers, of which there are 4080, must tell those under way apart.
constexpr uint64_t kReach = wire::kMaxRequest + 1;
constexpr size_t kFewest = 16;
constexpr size_t kMostBytesSent = size_t{256} << 10;
// Where an agent reads byte by byte: less than a pipe holds and than is read from it at a time. Where they end in the
// middle of a request, an agent that finds fewer than 16 bytes sleeps as well.
constexpr size_t kMostBytesOfAStream = size_t{8} << 10;
constexpr size_t kWriteAt = 1024;  // bytes that wait to be written, at most, while answers are handed out

// An answer this soon after a nudge was waiting for it, or came by chance. How long is waited before the first, second
// and third nudge of those that help, so that no steady phone, however slow, answers behind all three by chance.
constexpr milliseconds kHelped{200};
constexpr milliseconds kNudgesThatHelp[] = {wire::kNudgeAfter, 2 * wire::kNudgeAfter, wire::kNudgeAfter * 7 / 5};
constexpr milliseconds kDrainTakes{5000};
constexpr milliseconds kDrainAnswer{2000};  // for each answer

constexpr size_t kLeastAhead = size_t{64} << 10;
constexpr size_t kMostAhead = size_t{4} << 20;
constexpr size_t kMoreForEach = 16;     // answers of unknown size under way, for each that has come
constexpr size_t kSizesRemembered = 8;  // that the typical one is the mean of

}  // namespace

size_t Ahead::most_unknown() const { return kFewest + kMoreForEach * unknown_taken_; }

void Ahead::Took(size_t bytes, bool unknown, Deadline now) {
  if (unknown) {
    const size_t others = std::min(unknown_taken_++, kSizesRemembered - 1);
    typical_ = std::max<size_t>(1, (typical_ * others + bytes) / (others + 1));
  }
  since_ += bytes;
  if (since_ < limit_) return;
  const auto took = now - looked_;
  if (took < milliseconds(500)) limit_ = std::min(limit_ * 2, kMostAhead);
  if (took > milliseconds(2000)) limit_ = std::max(limit_ / 2, kLeastAhead);
  since_ = 0;
  looked_ = now;
}

Stream::Stream(Session& session) : session_(session), window_(session.options_.window) {
  session_.streams_ = true;
  deadline_ = Clock::now() + session_.options_.timeout;
}

Stream::~Stream() {
  try {
    Drain();
  } catch (const Failure&) {
    // Interrupted once more, or the link is gone.
  }
  GiveUp();
  session_.streams_ = false;
}

void Stream::Ask(uint16_t module, uint16_t command, Bytes data, Take take, size_t expected) {
  session_.NeedPermission(module, command);
  Bytes frame = BuildRequest(module, command, data, PacketNumbers::kAny);
  waiting_.push_back({.module = module,
                      .command = command,
                      .size = frame.size(),
                      .expected = expected,
                      .frame = std::move(frame),
                      .take = std::move(take)});
  if (taking_) return;
  Fill(true);
  while (!waiting_.empty() || !HasRoom()) Step(true);
}

bool Stream::TakeOne() {
  const uint64_t before = taken_;
  while (taken_ == before && !(waiting_.empty() && sent_.empty())) Step(false);
  return taken_ != before;
}

void Stream::Finish() {
  while (TakeOne()) continue;
  DropUnsentFiller();
  session_.Flush(deadline_);
}

bool Stream::HasRoom() const {
  if (sent_.empty()) return true;
  const size_t most_bytes = session_.needs_filler_ ? kMostBytesSent : kMostBytesOfAStream;
  return sent_.size() < window_ && bytes_sent_ < most_bytes && unknown_ < ahead_.most_unknown() &&
         expected_ + unknown_ * ahead_.typical() < ahead_.limit();
}

void Stream::Fill(bool more_follow) {
  while (!waiting_.empty() && HasRoom()) {
    Request next = std::move(waiting_.front());
    waiting_.pop_front();
    Send(std::move(next));
  }
  if (!HasRoom() || !more_follow) TopUp(more_follow || !waiting_.empty());
}

void Stream::Send(Request request) {
  if (sent_.empty()) deadline_ = Clock::now() + session_.options_.timeout;
  DropUnsentFiller();
  request.number = session_.Queue(request.frame);
  request.frame = {};
  request.behind = !sent_.empty();
  request.start = position_;
  position_ += request.size;
  bytes_sent_ += request.size;
  expected_ += request.expected;
  unknown_ += request.expected == 0;
  if (sent_.empty()) session_.reader_.Expect(request.number);
  sent_.push_back(std::move(request));
  unwritten_++;
}

void Stream::TopUp(bool more_follow) {
  if (!session_.needs_filler_ || !Runs() || sent_.empty()) return;
  if (sent_.size() == 1 && !sent_.front().behind) return;
  const size_t share = taken_ < sent_.size() ? sent_.size() / 2 : sent_.size() / 4;
  const size_t some = std::max(share, std::min(sent_.size(), kFewest) - 1);
  const Request& within_reach = more_follow ? sent_[some] : sent_.back();
  if (within_reach.start + kReach <= position_) return;
  const size_t filler = session_.QueueFiller(within_reach.start + kReach - position_);
  position_ += filler;
  unsent_filler_ += filler;
}

// Filler that is still here helps nobody once there is something better to send.
void Stream::DropUnsentFiller() {
  position_ -= session_.DropFiller(unsent_filler_);
  unsent_filler_ = 0;
}

void Stream::Step(bool more_follow) {
  Fill(more_follow);
  // The agent must not run dry while answers that came together are handed out.
  if (session_.out_.size() >= kWriteAt || unwritten_ * 4 >= sent_.size()) {
    session_.WriteSome();
    unwritten_ = 0;
  }
  const Deadline until = std::min(session_.Patience(deadline_, session_.options_.timeout), Clock::now() + NudgeAfter());
  if (auto frame = session_.NextFrame(until)) return HandOut(std::move(*frame));
  if (Clock::now() < session_.Patience(deadline_, session_.options_.timeout)) return Silence();
  late_ = true;
  session_.FailLate();
}

milliseconds Stream::NudgeAfter() const { return kNudgesThatHelp[std::min(helped_, std::size(kNudgesThatHelp) - 1)]; }

// An agent that is not as we think it is may wait for a byte. Over a command, where filler is not called for at first,
// it is when single bytes turn out to help.
void Stream::Silence() {
  if (!Runs() || !session_.out_.empty() || !session_.reader_.rest().empty()) return;
  position_ += session_.QueueFiller(1);
  nudged_ = Clock::now();
}

void Stream::HandOut(Frame frame) {
  const Request& first = sent_.front();
  if (frame.number != first.number) {
    if (session_.given_up_.erase(frame.number) > 0) return;
    session_.FailNumber(frame.number, first.number);
  }
  Request request = std::move(sent_.front());
  sent_.pop_front();
  expected_ -= request.expected;
  unknown_ -= request.expected == 0;
  bytes_sent_ -= request.size;
  if (!sent_.empty()) session_.reader_.Expect(sent_.front().number);
  const Deadline now = Clock::now();
  ahead_.Took(frame.data.size(), request.expected == 0, now);
  if (nudged_ && now < *nudged_ + kHelped && ++helped_ == std::size(kNudgesThatHelp)) session_.needs_filler_ = true;
  nudged_.reset();
  taken_++;
  taking_ = true;
  try {
    request.take(session_.ResultOf(request.module, request.command,
                                   session_.Classify(request.module, request.command, std::move(frame))));
  } catch (...) {
    taking_ = false;
    throw;
  }
  taking_ = false;
  deadline_ = Clock::now() + session_.options_.timeout;
}

void Stream::Drain() {
  waiting_.clear();
  if (late_ || !session_.alive_) return;
  const Deadline end = Clock::now() + kDrainTakes;
  while (!sent_.empty() && Clock::now() < end) {
    TopUp(false);
    const auto frame = session_.NextFrame(std::min(end, Clock::now() + kDrainAnswer));
    if (!frame) return;
    const auto found =
        std::find_if(sent_.begin(), sent_.end(), [&](const Request& each) { return each.number == frame->number; });
    if (found == sent_.end()) continue;
    sent_.erase(sent_.begin(), found + 1);
    if (!sent_.empty()) session_.reader_.Expect(sent_.front().number);
  }
  if (sent_.empty()) DropUnsentFiller();
}

// What was not answered may be answered later, and is nobody's business then.
void Stream::GiveUp() {
  for (const Request& request : sent_) session_.given_up_.insert(request.number);
  sent_.clear();
}

}  // namespace brelix
