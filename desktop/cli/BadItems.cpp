#include "desktop/cli/BadItems.h"

#include <fmt/format.h>

#include "desktop/cli/Output.h"

namespace brelix::cli {
namespace {

constexpr size_t kGiveUpAfter = 50;  // in a row: nothing more will come

}  // namespace

bool BadItems::Read(const std::function<bool()>& read) {
  tried_++;
  try {
    const bool was_there = read();
    if (!was_there) tried_--;
    in_a_row_ = 0;
    return was_there;
  } catch (const Failure& failure) {
    if (failure.code() != Exit::kPhoneError && failure.code() != Exit::kProtocol) throw;
    const std::string complaint = fmt::format("{} {} cannot be read: {}", what_, tried_, failure.what());
    bad_++;
    if (++in_a_row_ == kGiveUpAfter)
      throw Failure(failure.code(), fmt::format("{}; so did the {} before it, giving up", complaint, kGiveUpAfter - 1));
    Complain(complaint);
    return true;
  }
}

Exit BadItems::Outcome() const {
  if (bad_ == 0) return Exit::kOk;
  Complain(fmt::format("{} of {} {}s could not be read", bad_, tried_, what_));
  return Exit::kPartial;
}

}  // namespace brelix::cli
