// A phone that lies: what becomes of the agent's honest replies on their way to the desktop. The same seed and the same
// replies make the same lies.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <random>
#include <span>
#include <string>
#include <vector>

#include "programs/phone/hostile/Reply.h"

namespace brelix_phone::hostile {

// What the desktop is to see, one after the other.
struct Act {
  std::string bytes = {};
  int pauseMs = 0;      // before them
  bool hangUp = false;  // behind them
};

// The same numbers on every machine.
class Random {
 public:
  explicit Random(std::uint64_t seed) : m_engine(seed) {}
  // From 0 to bound - 1.
  std::size_t Below(std::size_t bound) { return static_cast<std::size_t>(m_engine() % bound); }
  bool OneIn(std::size_t times) { return Below(times) == 0; }
  std::string Noise(std::size_t size);
  template <typename Range>
  auto& OneOf(Range& range) {
    return range[Below(std::size(range))];
  }

 private:
  std::mt19937_64 m_engine;
};

// What a session's lies remember.
struct Memory {
  std::optional<Reply> before;  // the reply of before, honest as it was
  std::optional<Reply> held;    // one that goes out behind the next
  std::string document;         // the last that a list of calls or messages brought
  bool endless = false;         // such lists do not end any more
  int missing = 0;              // replies that never went out
  std::size_t invented = 0;     // names of things that are not there
  std::size_t moreOfFile = 0;   // pieces that a file is made longer by
};

// One reply while a lie is told. What is in `reply` goes out behind `acts`, unless those take its place or it is
// missing.
struct Telling {
  Reply& reply;
  Random& random;
  Memory& memory;
  std::vector<Act> acts = {};
  bool replaced = false;
  bool missing = false;
};

struct Lie {
  const char* name;
  unsigned weight;
  bool (*fits)(const Reply& reply, const Memory& memory);
  void (*tell)(Telling& telling);
};

// All lies there are: those about frames, whatever is in them, and those about what a reply says.
std::span<const Lie> FrameLies();
std::span<const Lie> ContentLies();

class Liar {
 public:
  // `log` is told of every lie.
  Liar(std::uint64_t seed, std::function<void(const std::string&)> log);

  // Whatever came before is forgotten; the n-th session with a seed is always the same.
  void BeginSession();
  std::vector<Act> Answer(std::span<const std::uint8_t> frame);

 private:
  void Learn(std::span<const Lie> lies, std::vector<const Lie*>& known);
  const Lie* Choose(const Reply& reply);
  const Lie* OneThatFits(const std::vector<const Lie*>& known, const Reply& reply);
  bool GoOn(Reply& reply);

  const std::uint64_t m_seed;
  const std::function<void(const std::string&)> m_log;
  std::uint64_t m_sessions = 0;
  Random m_random{0};
  Memory m_memory;
  std::size_t m_honest = 1;  // one reply in so many is a lie
  // Those that this session tells, each as often as its weight says.
  std::vector<const Lie*> m_aboutFrames, m_aboutContents;
};

// One that names its lies on standard error where that is asked for.
Liar MakeLiar(std::uint64_t seed, bool verbose);

}  // namespace brelix_phone::hostile
