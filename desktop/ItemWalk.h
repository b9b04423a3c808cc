// Going through many things of one kind: appointments, calls, messages.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

#include "desktop/Failure.h"
#include "desktop/FrameCodec.h"

namespace brelix {

inline std::string_view DocumentText(const Bytes& document) {
  return {reinterpret_cast<const char*>(document.data()), document.size()};
}

template <typename Item>
struct Walked {
  uint64_t number = 0;  // from 1 on, in the phone's order; for an appointment its position
  Item item;
  std::string_view document;  // what the item was read from; lives as long as the call that tells of it
};

template <typename Item>
struct ItemWalk {
  // Told of every item that can be read; false ends the walk.
  std::function<bool(Walked<Item>)> visit;
  // Told of every one that cannot, and why: the phone's error, or a document that is none.
  std::function<void(uint64_t number, const Failure& why)> miss;
  // Told before each item how many there are, as far as is known by then.
  std::function<void(uint64_t total)> step = [](uint64_t) {};
};

// What of a walk could not be read. A phone that fails on and on has nothing more to give.
class Misses {
 public:
  explicit Misses(const char* what) : what_(what) {}

  // An item was read from this document. Throws a protocol failure when the phone tells the same one over and over: a
  // list of such has no end.
  void Read(std::string_view document);
  // Passes a failure on that concerns this item alone; throws any other, and the last of too many in a row.
  void Miss(uint64_t number, const Failure& why, const std::function<void(uint64_t, const Failure&)>& miss);
  uint64_t count() const { return count_; }

 private:
  const char* what_;  // what an item is called
  uint64_t count_ = 0, in_a_row_ = 0;
  std::string before_;  // the last document
  uint64_t alike_ = 0;  // so many before it were the same
};

}  // namespace brelix
