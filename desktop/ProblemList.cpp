#include "desktop/ProblemList.h"

#include <fmt/format.h>

namespace brelix {
namespace {

constexpr size_t kLongest = 1024;  // bytes of a text; paths of phones are shorter

std::string Cut(std::string text) {
  if (text.size() <= kLongest) return text;
  size_t end = kLongest;
  while (end > 0 && (static_cast<uint8_t>(text[end]) & 0xC0) == 0x80) end--;
  text.resize(end);
  return text + "...";
}

}  // namespace

void ProblemList::Add(const std::string& place, Problem problem) {
  if (place != place_) CountUp();
  place_ = place;
  if (++of_place_ <= kMostOfOnePlace) Keep(std::move(problem));
}

void ProblemList::Keep(Problem problem) {
  if (problems_.size() < kMostInAll)
    problems_.push_back({Cut(std::move(problem.path)), Cut(std::move(problem.why))});
  else
    unnamed_++;
}

void ProblemList::CountUp() {
  if (of_place_ > kMostOfOnePlace)
    Keep({place_, fmt::format("{}: and {} more like these", place_, of_place_ - kMostOfOnePlace)});
  of_place_ = 0;
}

Problems ProblemList::Take() {
  CountUp();
  if (unnamed_ > 0)
    problems_.push_back({place_, fmt::format("{} more problems, of this and other places, are not named", unnamed_)});
  unnamed_ = 0;
  return std::move(problems_);
}

}  // namespace brelix
