// How a phone's message boxes are answered.
#pragma once

#include <optional>
#include <string>

#include "platform/User.h"

namespace handset {

// Answers a box whose caption equals and whose text contains what is given, if the box has that button.
struct BoxAnswer {
  std::optional<std::u16string> caption;
  std::optional<std::u16string> contains;
  ce::INT answer = ce::IDNO;
};

}  // namespace handset
