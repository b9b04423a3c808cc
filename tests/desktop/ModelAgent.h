// An agent as a desktop must expect one on a socket, by the rules of docs/protocol.md and by nothing else: it holds
// 16384 bytes, reads what there is room for, and after each read that brought something looks for one request. Instead
// of sleeping when nothing comes it waits, so that a desktop which relies on its sleeping on would be left waiting as
// well. One that holds 16384 bytes without a whole request is stuck for ever.
#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <functional>
#include <string>
#include <thread>

#include "desktop/FrameCodec.h"

namespace brelix::test {

class ModelAgent {
 public:
  // What is sent back for a request; an empty text for no answer.
  using Answer = std::function<std::string(const Frame& request)>;
  explicit ModelAgent(Answer answer);
  ~ModelAgent();

  std::string Address() const { return "tcp:127.0.0.1:" + std::to_string(port_); }
  // Reads nothing more, and answers nothing.
  void StopReading() { reads_ = false; }
  // Answers only once nothing more has come for a while, all together; this is a round.
  void AnswerInRounds() { in_rounds_ = true; }

  // Answers so many bytes at a time.
  void SendSlowly(size_t bytes, std::chrono::milliseconds pause) {
    pause_ = pause;
    at_a_time_ = bytes;
  }

  struct Seen {
    std::vector<Frame> requests;
    size_t bytes = 0;  // requests and filler
    size_t held = 0;   // when the desktop had left
    int rounds = 0;
    bool stuck = false;
  };
  // After the desktop has left.
  const Seen& Finish();

  // The usual answer: the command after the request's, a result of 0, and these bytes.
  static std::string Reply(const Frame& request, const std::string& data);
  static std::string Reply(const Frame& request, const std::string& data, uint16_t module, uint16_t number);

 private:
  void Serve();
  bool Cut(Frame& request);
  void Send(int peer, const std::string& answer) const;

  const Answer answer_;
  std::atomic<bool> reads_{true}, in_rounds_{false};
  std::atomic<size_t> at_a_time_{SIZE_MAX};
  std::atomic<std::chrono::milliseconds> pause_{};
  int listener_ = -1, port_ = 0;
  std::string held_;
  Seen seen_;
  std::thread thread_;
};

}  // namespace brelix::test
