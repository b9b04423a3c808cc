#include "desktop/Session.h"

#include <algorithm>
#include <fmt/format.h>
#include <random>
#include <utility>

#include "desktop/Wire.h"

namespace brelix {
namespace {

using std::chrono::milliseconds;
constexpr milliseconds kLeaveTakes{2000};
constexpr int kMostStrangers = 4096;  // more requests than fit into an agent's buffer twice over
constexpr int kMostHandshakes = 4;
constexpr int kManyStrangers = 3;
constexpr size_t kMostFiller = 16379;  // in a row; see Stream.cpp
constexpr int kMostPatience = 10;      // times the time that an answer has, while bytes of it keep coming
constexpr const char* kTakesNoBytes = "the phone takes no bytes; it may be out of reach (--timeout waits longer)";

std::string Seconds(milliseconds time) { return fmt::format("{:g} s", static_cast<double>(time.count()) / 1000); }

}  // namespace

Session::Session(std::unique_ptr<Link> link, Options options)
    : link_(std::move(link)),
      options_(std::move(options)),
      numbers_(static_cast<uint16_t>(std::random_device{}())),
      needs_filler_(link_->NeedsFiller()) {}

Session::~Session() { Close(); }

void Session::Fail(Exit code, const std::string& what) const {
  throw Failure(code, fmt::format("{}: {}", address(), what));
}

// What is asked from here on only tidies up.
void Session::FailLate() {
  const milliseconds waited = std::exchange(options_.timeout, std::min(options_.timeout, kLeaveTakes));
  if (!reader_.rest().empty())
    Fail(Exit::kLinkLost,
         fmt::format("the answer broke off after {} bytes (waited {})", reader_.rest().size(), Seconds(waited)));
  Fail(Exit::kLinkLost, fmt::format("no answer within {} (--timeout waits longer)", Seconds(waited)));
}

void Session::FailNumber(uint16_t came, uint16_t expected) const {
  Fail(Exit::kProtocol, fmt::format("an answer came with packet number 0x{:04X} instead of 0x{:04X}", came, expected));
}

void Session::NeedPermission(uint16_t module, uint16_t command) const {
  if (options_.read_only && !wire::OnlyReads(module, command))
    Fail(Exit::kUsage, fmt::format("module {} command {} may change the phone and --read-only (BRELIX_READ_ONLY) is "
                                   "given; nothing was sent",
                                   module, command));
}

// Gives the frame a number and adds it to what is to be written.
uint16_t Session::Queue(Bytes& frame) {
  if (!alive_) Fail(Exit::kLinkLost, "the connection was lost before");
  const uint16_t number = numbers_.Next();
  frame[frame.size() - 6] = static_cast<uint8_t>(number >> 8);
  frame[frame.size() - 5] = static_cast<uint8_t>(number);
  if (options_.trace) options_.trace->Sent(frame);
  given_up_.erase(number);
  out_.insert(out_.end(), frame.begin(), frame.end());
  filler_run_ = 0;
  return number;
}

// Bytes that an agent drops as garbage, but whose arrival makes it look at what it holds. Returns how many; a run of
// them ends before it could fill an agent's buffer.
size_t Session::QueueFiller(size_t bytes) {
  bytes = std::min(bytes, kMostFiller - filler_run_);
  if (bytes == 0) return 0;
  if (options_.trace) options_.trace->Filler(bytes);
  out_.insert(out_.end(), bytes, 0);
  filler_run_ += bytes;
  return bytes;
}

// Takes back filler that was queued last and is not written yet, so many bytes at most. Returns how many.
size_t Session::DropFiller(size_t bytes) {
  const size_t drop = std::min(bytes, out_.size());
  out_.resize(out_.size() - drop);
  filler_run_ -= drop;
  return drop;
}

void Session::Flush(Deadline deadline) {
  while (!out_.empty())
    if (!Transfer(deadline)) Fail(Exit::kLinkLost, kTakesNoBytes);
}

uint16_t Session::Send(uint16_t module, uint16_t command, ByteView data, Deadline deadline) {
  Bytes frame = BuildRequest(module, command, data, PacketNumbers::kAny);
  const uint16_t number = Queue(frame);
  reader_.Expect(number);
  Flush(deadline);
  return number;
}

// Moves an agent on that holds requests of others. One byte for each; for one that holds many, as many as it takes to
// answer them all: it holds at most kMaxRequest bytes and looks for the next request whenever it finds a byte.
void Session::Urge(int strangers) {
  const bool at_once = strangers == kManyStrangers && needs_filler_;
  QueueFiller(at_once ? wire::kMaxRequest - 2 * wire::kFrameOverhead + 1 : 1);
}

// An answer is not late while bytes come, even over the slowest link; but not for ever.
Deadline Session::Patience(Deadline deadline, milliseconds timeout) const {
  return std::clamp(heard_ + timeout, deadline, deadline + (kMostPatience - 1) * timeout);
}

bool Session::Transfer(Deadline deadline) {
  const auto feed = [this] {
    if (!in_.empty()) heard_ = Clock::now();
    reader_.Feed(in_);
  };
  try {
    in_.clear();
    const bool moved = link_->Transfer(out_, in_, deadline);
    feed();
    return moved;
  } catch (const Failure& failure) {
    feed();
    // What is still asked after an interrupt only tidies up, and after a second one nothing is.
    if (failure.code() == Exit::kInterrupted) options_.timeout = std::min(options_.timeout, kLeaveTakes);
    if (failure.code() != Exit::kInterrupted || ++interrupts_ > 1) alive_ = false;
    throw;
  }
}

void Session::WriteSome() {
  try {
    if (!out_.empty()) link_->WriteSome(out_);
  } catch (const Failure&) {
    // The link is gone; what has come before that is read first, and then says so.
  }
}

std::optional<Frame> Session::Received(std::optional<Frame> frame) {
  if (frame && options_.trace) options_.trace->Received(*frame);
  return frame;
}

// Nothing when the time is up. What is queued is written meanwhile. What has come is looked at as all that comes only
// after a silence.
std::optional<Frame> Session::NextFrame(Deadline until) {
  for (;;) {
    if (auto frame = Received(reader_.Next(ReplyReader::LinkState::kFlowing))) return frame;
    try {
      if (Transfer(std::min(until, Clock::now() + wire::kQuiet))) continue;
    } catch (const Failure& failure) {
      if (alive_ || failure.code() == Exit::kInterrupted) throw;
      // Nothing more can come, so what is held may be whole after all.
      if (auto frame = Received(reader_.Next(ReplyReader::LinkState::kQuiet))) return frame;
      throw;
    }
    const Deadline now = Clock::now();
    if (now >= heard_ + wire::kQuiet)
      if (auto frame = Received(reader_.Next(ReplyReader::LinkState::kQuiet))) return frame;
    if (now >= until) return std::nullopt;
  }
}

Frame Session::AwaitHandshake(Deadline deadline) {
  std::set<uint16_t> sent{Send(wire::kSystem, wire::kHandshake, {}, deadline)};
  int strangers = 0;
  bool swallowed = false;  // an answer came that is not ours: our request may have been taken for the end of another
  while (Clock::now() < deadline) {
    auto frame = NextFrame(std::min(deadline, Clock::now() + wire::kNudgeAfter));
    // What an earlier desktop asked may have the same number.
    const bool ours = frame && frame->module == wire::kSystem &&
                      (frame->command == wire::kHandshake + 1 || frame->command == 0) && sent.erase(frame->number) > 0;
    if (ours) {
      given_up_.merge(sent);
      return *frame;
    }
    if (frame && ++strangers > kMostStrangers) break;
    if (Clock::now() >= deadline) break;
    if (!frame && swallowed && sent.size() < kMostHandshakes) {
      sent.insert(Send(wire::kSystem, wire::kHandshake, {}, deadline));
      swallowed = false;
      continue;
    }
    if (frame) swallowed = true;
    Urge(strangers);
  }
  if (strangers > 0) Fail(Exit::kProtocol, fmt::format("{} answers came, but none to the handshake", strangers));
  if (!reader_.rest().empty())
    Fail(Exit::kLinkLost,
         fmt::format("{} bytes came, but no whole answer within {}", reader_.rest().size(), Seconds(options_.timeout)));
  Fail(Exit::kLinkLost, fmt::format("no answer within {} (--timeout waits longer)", Seconds(options_.timeout)));
}

Frame Session::AwaitNumber(uint16_t number, milliseconds timeout) {
  const Deadline deadline = Clock::now() + timeout;
  int strangers = 0;
  while (Clock::now() < Patience(deadline, timeout)) {
    auto frame = NextFrame(std::min(Patience(deadline, timeout), Clock::now() + wire::kNudgeAfter));
    if (frame && frame->number == number) return *frame;
    if (frame && given_up_.erase(frame->number) == 0) FailNumber(frame->number, number);
    if (frame) strangers++;
    // Our request may stand behind one that is answered only now.
    if (frame || !given_up_.empty()) Urge(strangers);
  }
  FailLate();
}

Reply Session::Classify(uint16_t module, uint16_t command, Frame frame) const {
  const uint16_t answer = static_cast<uint16_t>(command + 1);
  const bool empty = frame.data.empty();
  if (frame.module == module && frame.command == answer)
    return {empty ? Reply::Kind::kRefused : Reply::Kind::kAnswer, std::move(frame)};
  if (frame.module == wire::kSystem && frame.command == 0 && empty) return {Reply::Kind::kDefault, std::move(frame)};
  Fail(Exit::kProtocol, fmt::format("asked module {} command {}, answered as module {} command {}", module, command,
                                    frame.module, frame.command));
}

Reply Session::Exchange(uint16_t module, uint16_t command, ByteView data, milliseconds timeout) {
  if (streams_) Fail(Exit::kUnexpected, "one request was to be asked in the middle of a stream of others");
  const uint16_t number = Send(module, command, data, Clock::now() + timeout);
  try {
    return Classify(module, command, AwaitNumber(number, timeout));
  } catch (const Failure&) {
    given_up_.insert(number);
    if (options_.trace) options_.trace->Loose("<", reader_.rest());
    throw;
  }
}

Reply Session::Ask(uint16_t module, uint16_t command, ByteView data) {
  NeedPermission(module, command);
  const bool system = module == wire::kSystem;
  if (system && command == wire::kOpen) opened_ = true;  // from here on it may be open, whatever is answered
  if (system && command == wire::kExit) exited_ = link_->OneSession();
  Reply reply = Exchange(module, command, data, options_.timeout);
  if (system && command == wire::kClose && reply.kind == Reply::Kind::kAnswer) opened_ = false;
  return reply;
}

Result Session::ResultOf(uint16_t module, uint16_t command, Reply reply) const {
  const auto what = fmt::format("module {} command {}", module, command);
  if (reply.kind == Reply::Kind::kRefused) Fail(Exit::kRefused, what + " was refused: the session is not allowed");
  if (reply.kind == Reply::Kind::kDefault)
    Fail(Exit::kRefused, what + " is not served by this agent, or not in this state of the session");
  Bytes& data = reply.frame.data;
  if (data.size() < 4)
    Fail(Exit::kProtocol, fmt::format("the answer to {} has {} bytes, too few for a result", what, data.size()));
  const uint32_t code = Read32(data, 0);
  data.erase(data.begin(), data.begin() + 4);
  return {code, std::move(data)};
}

Result Session::AskResult(uint16_t module, uint16_t command, ByteView data) {
  return ResultOf(module, command, Ask(module, command, data));
}

Bytes Session::Answer(uint16_t module, uint16_t command, ByteView data) {
  Result result = AskResult(module, command, data);
  if (result.code == wire::kRefusedResult)
    Fail(Exit::kRefused, fmt::format("module {} command {} was refused", module, command));
  if (result.code != 0)
    Fail(Exit::kPhoneError, fmt::format("module {} command {}: {}", module, command, PhoneErrorText(result.code)));
  return std::move(result.data);
}

void Session::Handshake() {
  const Deadline deadline = Clock::now() + options_.timeout;
  Reply reply;
  try {
    reply = Classify(wire::kSystem, wire::kHandshake, AwaitHandshake(deadline));
  } catch (const Failure&) {
    if (options_.trace) options_.trace->Loose("<", reader_.rest());
    throw;
  }
  const uint32_t result = ResultOf(wire::kSystem, wire::kHandshake, std::move(reply)).code;
  if (result == wire::kRefusedResult)
    options_.warn(address() + ": another session is open on this phone; going on all the same");
  else if (result != 0)
    Fail(Exit::kPhoneError, "handshake: " + PhoneErrorText(result));
  allowed_ = true;
}

void Session::TakeLeave() {
  if (opened_) Exchange(wire::kSystem, wire::kClose, {}, kLeaveTakes);
  if (allowed_ && link_->OneSession()) Exchange(wire::kSystem, wire::kExit, {}, kLeaveTakes);
}

void Session::Close() {
  if (!link_) return;
  try {
    if (alive_ && !exited_) TakeLeave();
  } catch (const Failure&) {
    // The work is done or has failed already; a farewell that fails changes neither.
  }
  alive_ = opened_ = allowed_ = false;
  link_->Close();
}

}  // namespace brelix
