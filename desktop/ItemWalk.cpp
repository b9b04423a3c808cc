#include "desktop/ItemWalk.h"

#include <fmt/format.h>

namespace brelix {
namespace {

constexpr uint64_t kGiveUpAfter = 50;    // in a row
constexpr uint64_t kMostAlike = 10'000;  // in a row; items have times to the second, or object ids

}  // namespace

void Misses::Read(std::string_view document) {
  alike_ = document == before_ ? alike_ + 1 : 0;
  if (alike_ >= kMostAlike)
    throw Failure(Exit::kProtocol, fmt::format("the phone tells the same {} over and over", what_));
  if (alike_ == 0) before_ = document;
  in_a_row_ = 0;
}

void Misses::Miss(uint64_t number, const Failure& why, const std::function<void(uint64_t, const Failure&)>& miss) {
  if (why.code() != Exit::kPhoneError && why.code() != Exit::kProtocol) throw Failure(why);
  count_++;
  if (++in_a_row_ == kGiveUpAfter)
    throw Failure(why.code(), fmt::format("{} {} cannot be read: {}; so did the {} before it, giving up", what_, number,
                                          why.what(), kGiveUpAfter - 1));
  miss(number, why);
}

}  // namespace brelix
