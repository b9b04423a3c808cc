#include "desktop/backup/PhoneTexts.h"

#include "desktop/Text.h"
#include "handset/store/RowValues.h"

namespace brelix::backup {

std::u16string PhoneText(std::string_view wire) {
  if (auto units = WireUnits(wire)) return *std::move(units);
  return TextOfUtf8(CleanUtf8(wire));
}

std::u16string TextOfUtf8(std::string_view utf8) {
  return handset::FromUtf8(utf8, handset::Surrogates::kAccept).value_or(u"\uFFFD");
}

}  // namespace brelix::backup
