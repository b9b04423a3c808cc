#include "desktop/cli/BadItems.h"

#include <fmt/format.h>

#include "desktop/cli/Output.h"

namespace brelix::cli {

void BadItems::Miss(const Failure& why) {
  bad_++;
  Complain(fmt::format("{} {} cannot be read: {}", what_, ++tried_, why.what()));
}

Exit BadItems::Outcome() const {
  if (bad_ == 0) return Exit::kOk;
  Complain(fmt::format("{} of {} {}s could not be read", bad_, tried_, what_));
  return Exit::kPartial;
}

}  // namespace brelix::cli
