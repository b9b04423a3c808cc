// A host program shows a box as long as it works, which a person closes to end it. Here a signal does.
#pragma once

#include <functional>

#include "handset/system/MessageBoxes.h"
#include "programs/phone/EndSignals.h"

namespace brelix_phone {

// Boxes that ask something or tell of an error are not held. The signals live as long as the boxes are shown.
inline std::function<void(const handset::ShownBox&)> HoldUntil(const EndSignals& signals) {
  return [&signals](const handset::ShownBox& box) {
    if (box.type == ce::MB_OK) signals.WaitForOne();
  };
}

}  // namespace brelix_phone
