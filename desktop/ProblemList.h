// The problems of a long work, as many as somebody reads. A phone that breaks every name of every folder must not fill
// the memory: of one place and in all only so many are kept, and the others are counted.
#pragma once

#include "desktop/EntryFailure.h"

namespace brelix {

class ProblemList {
 public:
  // Of a folder or key, the place; those of one place come one after another.
  void Add(const std::string& place, Problem problem);
  // What was added, with a line for each place that says how many are not named, and one for all.
  Problems Take();
  // Of the last that was added, whether it is the same; a key that gives neither list is told of once.
  bool EndsWith(const std::string& why) const { return !problems_.empty() && problems_.back().why == why; }

  static constexpr size_t kMostOfOnePlace = 100;
  static constexpr size_t kMostInAll = 10'000;

 private:
  void Keep(Problem problem);
  void CountUp();

  Problems problems_;
  std::string place_;
  size_t of_place_ = 0;
  size_t unnamed_ = 0;  // in all
};

}  // namespace brelix
