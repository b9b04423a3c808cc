// What of a long run could not be read: told as it happens, counted, and the reason for the exit code. One bad item
// does not stop a run; a link that is lost, or a phone that fails on and on, does.
#pragma once

#include <cstddef>
#include <functional>
#include <string>

#include "desktop/Failure.h"

namespace brelix::cli {

class BadItems {
 public:
  // What an item is called: "call", "message".
  explicit BadItems(std::string what) : what_(std::move(what)) {}

  // Takes what `next` gives until it gives nothing. Throws what ends the run.
  template <typename Next, typename Take>
  void Run(Next next, Take take) {
    while (Read([&] {
      const auto item = next();
      if (item) take(*item);
      return item.has_value();
    }))
      continue;
  }
  // kOk, or kPartial after saying how many are missing.
  Exit Outcome() const;

 private:
  // Reads one item; false when there was none.
  bool Read(const std::function<bool()>& read);

  const std::string what_;
  size_t tried_ = 0;
  size_t bad_ = 0;
  size_t in_a_row_ = 0;
};

}  // namespace brelix::cli
