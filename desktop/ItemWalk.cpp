#include "desktop/ItemWalk.h"

#include <fmt/format.h>

namespace brelix {
namespace {

constexpr uint64_t kGiveUpAfter = 50;  // in a row

}  // namespace

void Misses::Miss(uint64_t number, const Failure& why, const std::function<void(uint64_t, const Failure&)>& miss) {
  if (why.code() != Exit::kPhoneError && why.code() != Exit::kProtocol) throw Failure(why);
  count_++;
  if (++in_a_row_ == kGiveUpAfter)
    throw Failure(why.code(), fmt::format("{} {} cannot be read: {}; so did the {} before it, giving up", what_, number,
                                          why.what(), kGiveUpAfter - 1));
  miss(number, why);
}

}  // namespace brelix
