// Which recurrence types have which values of a pattern; the other values are neither read nor written.
#pragma once

#include "platform/Appointment.h"

namespace recurrence {

constexpr bool HasDayOfWeekMask(ce::LONG type) {
  return type == ce::olRecursDaily || type == ce::olRecursWeekly || type == ce::olRecursMonthNth ||
         type == ce::olRecursYearNth;
}
constexpr bool HasDayOfMonth(ce::LONG type) { return type == ce::olRecursMonthly || type == ce::olRecursYearly; }
constexpr bool HasMonthOfYear(ce::LONG type) { return type == ce::olRecursYearly || type == ce::olRecursYearNth; }
constexpr bool HasInstance(ce::LONG type) { return type == ce::olRecursMonthNth || type == ce::olRecursYearNth; }

}  // namespace recurrence
