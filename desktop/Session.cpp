#include "desktop/Session.h"

#include <algorithm>
#include <fmt/format.h>
#include <random>

#include "desktop/Wire.h"

namespace brelix {
namespace {

using std::chrono::milliseconds;
constexpr milliseconds kNudgeAfter{500};
constexpr milliseconds kLeaveTakes{2000};
constexpr int kMostStrangers = 4096;  // more requests than fit into an agent's buffer twice over
constexpr int kMostHandshakes = 4;

std::string Seconds(milliseconds time) { return fmt::format("{:g} s", static_cast<double>(time.count()) / 1000); }

}  // namespace

Session::Session(std::unique_ptr<Link> link, Options options)
    : link_(std::move(link)), options_(std::move(options)), numbers_(static_cast<uint16_t>(std::random_device{}())) {}

Session::~Session() { Close(); }

void Session::Fail(Exit code, const std::string& what) const {
  throw Failure(code, fmt::format("{}: {}", address(), what));
}

uint16_t Session::Send(uint16_t module, uint16_t command, ByteView data, Deadline deadline) {
  if (!alive_) Fail(Exit::kLinkLost, "the connection was lost before");
  const uint16_t number = numbers_.Next();
  const Bytes frame = BuildRequest(module, command, data, number);
  if (options_.trace) options_.trace->Sent(frame);
  given_up_.erase(number);
  reader_.Expect(number);
  link_->Write(frame, deadline);
  return number;
}

// One byte that an agent drops as garbage, but whose arrival makes it look at what it holds.
void Session::Nudge(Deadline deadline) {
  const Bytes nudge{0};
  if (options_.trace) options_.trace->Loose(">", nudge);
  link_->Write(nudge, deadline);
}

std::optional<Frame> Session::Received(std::optional<Frame> frame) {
  if (frame && options_.trace) options_.trace->Received(*frame);
  return frame;
}

// Nothing when the time is up.
std::optional<Frame> Session::NextFrame(Deadline until) {
  Bytes arrived;
  for (;;) {
    if (auto frame = Received(reader_.Next(ReplyReader::LinkState::kFlowing))) return frame;
    try {
      arrived.clear();
      if (link_->Read(arrived, std::min(until, Clock::now() + wire::kQuiet))) {
        reader_.Feed(arrived);
        continue;
      }
    } catch (const Failure& failure) {
      if (failure.code() == Exit::kInterrupted) throw;
      alive_ = false;  // nothing more can come, so what is held may be whole after all
      if (auto frame = Received(reader_.Next(ReplyReader::LinkState::kQuiet))) return frame;
      throw;
    }
    if (auto frame = Received(reader_.Next(ReplyReader::LinkState::kQuiet))) return frame;
    if (Clock::now() >= until) return std::nullopt;
  }
}

Frame Session::AwaitHandshake(Deadline deadline) {
  std::set<uint16_t> sent{Send(wire::kSystem, wire::kHandshake, {}, deadline)};
  int strangers = 0;
  bool swallowed = false;  // an answer came that is not ours: our request may have been taken for the end of another
  while (Clock::now() < deadline) {
    auto frame = NextFrame(std::min(deadline, Clock::now() + kNudgeAfter));
    if (frame && sent.erase(frame->number) > 0) {
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
    Nudge(deadline);
  }
  if (strangers > 0) Fail(Exit::kProtocol, fmt::format("{} answers came, but none to the handshake", strangers));
  if (!reader_.rest().empty())
    Fail(Exit::kLinkLost,
         fmt::format("{} bytes came, but no whole answer within {}", reader_.rest().size(), Seconds(options_.timeout)));
  Fail(Exit::kLinkLost, fmt::format("no answer within {} (--timeout waits longer)", Seconds(options_.timeout)));
}

Frame Session::AwaitNumber(uint16_t number, Deadline deadline) {
  while (Clock::now() < deadline) {
    auto frame = NextFrame(std::min(deadline, Clock::now() + kNudgeAfter));
    if (frame && frame->number == number) return *frame;
    if (frame && !given_up_.contains(frame->number))
      Fail(Exit::kProtocol,
           fmt::format("an answer came with packet number 0x{:04X} instead of 0x{:04X}", frame->number, number));
    // Our request may stand behind one that is answered only now.
    if (!given_up_.empty() && Clock::now() < deadline) Nudge(deadline);
  }
  if (!reader_.rest().empty())
    Fail(Exit::kLinkLost, fmt::format("the answer broke off after {} bytes (waited {})", reader_.rest().size(),
                                      Seconds(options_.timeout)));
  Fail(Exit::kLinkLost, fmt::format("no answer within {} (--timeout waits longer)", Seconds(options_.timeout)));
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
  const Deadline deadline = Clock::now() + timeout;
  const uint16_t number = Send(module, command, data, deadline);
  try {
    return Classify(module, command, AwaitNumber(number, deadline));
  } catch (const Failure& failure) {
    // What is still asked after an interrupt only tidies up.
    if (failure.code() == Exit::kInterrupted) options_.timeout = std::min(options_.timeout, kLeaveTakes);
    given_up_.insert(number);
    if (options_.trace) options_.trace->Loose("<", reader_.rest());
    throw;
  }
}

Reply Session::Ask(uint16_t module, uint16_t command, ByteView data) {
  if (options_.read_only && !wire::OnlyReads(module, command))
    Fail(Exit::kUsage, fmt::format("module {} command {} may change the phone and --read-only (BRELIX_READ_ONLY) is "
                                   "given; nothing was sent",
                                   module, command));
  const bool system = module == wire::kSystem;
  if (system && command == wire::kOpen) opened_ = true;  // from here on it may be open, whatever is answered
  if (system && command == wire::kExit) exited_ = link_->OneSession();
  Reply reply = Exchange(module, command, data, options_.timeout);
  if (system && command == wire::kClose && reply.kind == Reply::Kind::kAnswer) opened_ = false;
  return reply;
}

uint32_t Session::ResultOf(uint16_t module, uint16_t command, const Reply& reply) const {
  const auto what = fmt::format("module {} command {}", module, command);
  if (reply.kind == Reply::Kind::kRefused) Fail(Exit::kRefused, what + " was refused: the session is not allowed");
  if (reply.kind == Reply::Kind::kDefault)
    Fail(Exit::kRefused, what + " is not served by this agent, or not in this state of the session");
  if (reply.frame.data.size() < 4)
    Fail(Exit::kProtocol,
         fmt::format("the answer to {} has {} bytes, too few for a result", what, reply.frame.data.size()));
  return Read32(reply.frame.data, 0);
}

Result Session::AskResult(uint16_t module, uint16_t command, ByteView data) {
  Reply reply = Ask(module, command, data);
  const uint32_t code = ResultOf(module, command, reply);
  reply.frame.data.erase(reply.frame.data.begin(), reply.frame.data.begin() + 4);
  return {code, std::move(reply.frame.data)};
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
  const uint32_t result = ResultOf(wire::kSystem, wire::kHandshake, reply);
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
