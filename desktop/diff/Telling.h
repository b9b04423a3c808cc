// A walk over a phone's items whose misses are complaints.
#pragma once

#include <fmt/format.h>

#include "desktop/ItemWalk.h"
#include "desktop/diff/Domains.h"

namespace brelix::diff {

template <typename Item, typename Take>
ItemWalk<Item> Telling(std::string what, const ReadWatch& watch, Take take) {
  const auto visit = [take](const Walked<Item>& walked) {
    take(walked.item);
    return true;
  };
  const auto miss = [what = std::move(what), &watch](uint64_t number, const Failure& why) {
    watch.complain(fmt::format("{} {}: {}", what, number, why.what()));
  };
  return {visit, miss, [&watch](uint64_t) { watch.step(); }};
}

}  // namespace brelix::diff
