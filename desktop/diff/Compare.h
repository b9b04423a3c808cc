// Two phones, or a phone and what was kept of it, compared item by item.
#pragma once

#include "desktop/diff/Domains.h"

namespace brelix::diff {

enum class Change { kAdded, kGone, kChanged };

struct Difference {
  const Domain* domain = nullptr;
  Change change = Change::kChanged;
  Item item;  // as it is on the second phone; what is gone, as on the first
  std::vector<FieldDifference> fields;
};

// One of the two phones.
struct Side {
  Session* session = nullptr;
  std::string name;  // as the user gave it
};

struct CompareWatch {
  std::function<void(const Difference&)> tell;
  std::function<void(const std::string&)> complain;
  // Told when a phone's domain is begun, and of every item in it.
  std::function<void(const Domain&, const Side&)> begin = [](const Domain&, const Side&) {};
  std::function<void()> step = [] {};
};

struct Outcome {
  size_t differences = 0;
  size_t unread = 0;  // items that one of the phones could not tell
};

// Reads the domain of the first phone, then that of the second, and tells the differences in the order of the second;
// what is gone comes last. What a phone could not tell is not taken for gone from it.
Outcome Compare(const Domain& domain, const Side& first, const Side& second, const ReadOptions& options,
                const CompareWatch& watch);

}  // namespace brelix::diff
