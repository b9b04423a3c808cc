// What differs between two phones' folders, domain by domain, without either in memory.
#pragma once

#include <functional>

#include "desktop/backup/Domain.h"

namespace brelix::backup {

struct Difference {
  std::string key;
  // The thing in either folder; null where it is not there.
  nlohmann::json before, after;

  bool IsAdded() const { return before.is_null(); }
  bool IsGone() const { return after.is_null(); }
};

struct Changes {
  uint64_t added = 0, changed = 0, gone = 0;
  bool None() const { return added == 0 && changed == 0 && gone == 0; }
};

// Tells the differences by rising keys.
Changes Compare(
    const Domain& domain, const PhoneFolder& before, const PhoneFolder& after,
    const std::function<void(const Difference&)>& tell = [](const Difference&) {});

}  // namespace brelix::backup
