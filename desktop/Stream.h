// Requests ahead of their answers. An agent answers in order, one answer a request; it sleeps 100 ms whenever it finds
// no bytes, and looks for a request only when bytes have come. A stream therefore keeps many requests under way, and
// behind the last of them filler, so that the agent always finds bytes until it has answered all.
//
//     Stream stream(session);
//     for (uint32_t n = 1; n <= count; n++)
//       stream.Ask(module, command, DataFor(n), [&, n](Result result) { Take(n, result); });
//     stream.Finish();
//
// What is taken from one answer may ask on. While a stream lives, nothing else may be asked in its session; afterwards
// one asks one at a time as before.
#pragma once

#include <cstdint>
#include <deque>
#include <functional>

#include "desktop/Session.h"

namespace brelix {

// How many bytes of answers may be under way: about as many as come within a second, which is what somebody who stops
// the work has to wait for. Answers are handed out as they come, so that this is no matter of memory.
class Ahead {
 public:
  // Of an answer whose size nobody knew, as far as the answers so far tell.
  size_t typical() const { return typical_; }
  size_t limit() const { return limit_; }
  // How many such answers may be under way: few until some have come and told how large they are.
  size_t most_unknown() const;
  void Took(size_t bytes, bool unknown, Deadline now);

 private:
  size_t typical_ = 1024;
  size_t unknown_taken_ = 0;
  size_t limit_ = size_t{512} << 10;
  size_t since_ = 0;  // bytes that came since the limit was looked at
  Deadline looked_ = Clock::now();
};

class Stream {
 public:
  // Told of each answer in the order of the requests. What it throws ends the stream's work.
  using Take = std::function<void(Result)>;

  explicit Stream(Session& session);
  // Takes in, for a bounded time, what has been asked and not answered, and throws it away.
  ~Stream();
  Stream(const Stream&) = delete;
  Stream& operator=(const Stream&) = delete;

  // Returns when there is room for another request, after handing out answers that came meanwhile; within a take, at
  // once. With a window of 1 that is when the answer has been taken. `expected` is the size of the answer, 0 where
  // nobody knows. Throws what Session::AskResult throws, of this request or of an earlier one; one that may not be sent
  // is refused here.
  void Ask(uint16_t module, uint16_t command, Bytes data, Take take, size_t expected = 0);
  // Hands out the next answer; false when there is none to come.
  bool TakeOne();
  // Returns when everything has been answered and taken, also what takes have asked.
  void Finish();
  // Whether requests go out ahead of answers at all.
  bool Runs() const { return window_ > 1; }

 private:
  struct Request {
    uint16_t module, command, number = 0;
    size_t size;      // bytes of the request
    size_t expected;  // bytes of the answer, 0 where nobody knows
    Bytes frame;      // until it is sent
    Take take;
    uint64_t start = 0;   // where it begins, in bytes of the stream
    bool behind = false;  // another was unanswered when it was sent
  };
  bool HasRoom() const;
  void Fill(bool more_follow);
  void Send(Request request);
  void TopUp(bool more_follow);
  void DropUnsentFiller();
  void Step(bool more_follow);
  std::chrono::milliseconds NudgeAfter() const;
  void Silence();
  void HandOut(Frame frame);
  void Drain();
  void GiveUp();

  Session& session_;
  const size_t window_;
  std::deque<Request> waiting_, sent_;
  Ahead ahead_;
  size_t expected_ = 0;       // bytes of answers under way, as far as known
  size_t unknown_ = 0;        // answers under way of which nobody knows
  size_t bytes_sent_ = 0;     // of the requests under way
  uint64_t position_ = 0;     // bytes of requests and filler so far
  size_t unsent_filler_ = 0;  // at the end of what the session has still to write
  Deadline deadline_;         // for the next answer
  std::optional<Deadline> nudged_;
  size_t helped_ = 0;     // nudges
  uint64_t taken_ = 0;    // answers handed out
  size_t unwritten_ = 0;  // requests sent since something was written
  bool taking_ = false;
  bool late_ = false;
};

}  // namespace brelix
