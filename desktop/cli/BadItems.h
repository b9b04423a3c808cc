// What of a long run could not be read: told as it happens, counted, and the reason for the exit code. One bad item
// does not stop a run.
#pragma once

#include <cstdint>
#include <functional>
#include <string>

#include "desktop/ItemWalk.h"

namespace brelix::cli {

class BadItems {
 public:
  // What an item is called: "call", "message".
  explicit BadItems(std::string what) : what_(std::move(what)) {}

  // A walk that tells of what it cannot read and gives the rest to `take`, with its number. It may be followed by
  // another.
  template <typename Item, typename Take>
  ItemWalk<Item> Walk(Take take) {
    ItemWalk<Item> walk;
    walk.visit = [this, take](const Walked<Item>& walked) {
      tried_++;
      take(walked.number, walked.item);
      return true;
    };
    walk.miss = [this](uint64_t, const Failure& why) { Miss(why); };
    return walk;
  }
  // kOk, or kPartial after saying how many are missing.
  Exit Outcome() const;

 private:
  void Miss(const Failure& why);

  const std::string what_;
  uint64_t tried_ = 0;
  uint64_t bad_ = 0;
};

}  // namespace brelix::cli
