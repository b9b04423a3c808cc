#include "desktop/doctor/Probe.h"

#include <algorithm>
#include <random>
#include <set>

#include "desktop/Wire.h"

namespace brelix::doctor {
namespace {

using std::chrono::milliseconds;

constexpr milliseconds kListensFirst{300};
constexpr milliseconds kNudgeAfter{500};
constexpr size_t kMostHandshakes = 4;
constexpr size_t kRemembered = 256;  // bytes of what is not understood

class Prober {
 public:
  Prober(Link& link, Deadline deadline)
      : link_(link), deadline_(deadline), numbers_(static_cast<uint16_t>(std::random_device{}())) {}

  Heard Run() {
    try {
      Listen(std::min(deadline_, Clock::now() + kListensFirst));
      heard_.unasked.assign(all_.begin(), all_.end());
      Ask();
    } catch (const Failure& failure) {
      if (failure.code() == Exit::kInterrupted) throw;
      heard_.ended = failure.what();
      heard_.ended_as = failure.code();
    }
    if (!heard_.answered) TellGarbage(all_);
    return heard_;
  }

 private:
  // As a session does it: what an earlier desktop left in the agent's buffer is answered first, or takes our handshake
  // for its end.
  void Ask() {
    const Deadline asked = Clock::now();
    Handshake();
    while (!heard_.answered && !heard_.echoed && Clock::now() < deadline_) {
      const size_t strangers = heard_.strangers;
      Listen(std::min(deadline_, Clock::now() + kNudgeAfter));
      if (heard_.answered || heard_.echoed || Clock::now() >= deadline_) break;
      const bool quiet = heard_.strangers == strangers;
      if (quiet && strangers > 0 && numbers_said_.size() < kMostHandshakes)
        Handshake();
      else
        link_.Write(Bytes{0}, deadline_);
    }
    heard_.took = std::chrono::duration_cast<milliseconds>(Clock::now() - asked);
  }

  void Handshake() {
    const uint16_t number = numbers_.Next();
    numbers_said_.insert(number);
    reader_.Expect(number);
    link_.Write(BuildRequest(wire::kSystem, wire::kHandshake, {}, number), deadline_);
  }

  // Until a frame comes, at most so long.
  void Listen(Deadline until) {
    Bytes arrived;
    for (bool frame_came = false; !frame_came && Clock::now() < until;) {
      arrived.clear();
      const bool more = link_.Read(arrived, std::min(until, Clock::now() + wire::kQuiet));
      const size_t kept = std::min(arrived.size(), kRemembered);
      all_.insert(all_.end(), arrived.begin(), arrived.begin() + static_cast<ptrdiff_t>(kept));
      reader_.Feed(arrived);
      const auto state = more ? ReplyReader::LinkState::kFlowing : ReplyReader::LinkState::kQuiet;
      while (const auto frame = reader_.Next(state)) {
        frame_came = true;
        all_.clear();
        Take(*frame);
      }
    }
  }

  // What an earlier desktop asked may have the same number as a handshake; so has what only sends back what it gets. An
  // agent that refuses it answers, too.
  void Take(const Frame& frame) {
    const bool of_ours = frame.module == wire::kSystem && numbers_said_.contains(frame.number);
    const bool refused = frame.data.empty() && (frame.command == 0 || frame.command == wire::kHandshake + 1);
    if (of_ours && (refused || (frame.command == wire::kHandshake + 1 && frame.data.size() >= wire::kResultSize)))
      heard_.answered = true;
    else if (of_ours && frame.command == wire::kHandshake)
      heard_.echoed = true;
    else
      heard_.strangers++;
  }

  void TellGarbage(const Bytes& bytes) {
    heard_.garbage = bytes.size();
    heard_.first_garbage.assign(bytes.begin(),
                                bytes.begin() + static_cast<ptrdiff_t>(std::min(bytes.size(), kRemembered)));
  }

  Link& link_;
  const Deadline deadline_;
  PacketNumbers numbers_;
  ReplyReader reader_;
  std::set<uint16_t> numbers_said_;
  Bytes all_;  // since the last whole frame
  Heard heard_;
};

}  // namespace

Heard Probe(Link& link, Deadline deadline) { return Prober(link, deadline).Run(); }

}  // namespace brelix::doctor
