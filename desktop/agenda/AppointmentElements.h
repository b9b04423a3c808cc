// The elements of an `agendaentry` document, in the order in which agents write them, each at most once.
#pragma once

#include <array>
#include <string_view>

#include "desktop/Client.h"
#include "desktop/Elements.h"

namespace brelix {

inline bool IsYesOrNo(std::string_view text) { return text == "yes" || text == "no"; }
inline bool IsNumber(std::string_view text) {
  if (text.starts_with('-')) text.remove_prefix(1);
  return !text.empty() && text.find_first_not_of("0123456789") == text.npos;
}
// Zeros stand for a time that no calendar has.
inline bool IsTime(std::string_view text) { return text == "00000000T000000Z" || ParseTimestamp(text).has_value(); }

inline constexpr auto kAppointmentElements = [] {
  std::array rules = {ElementRule{.name = "oid", .fits = IsNumber},
                      ElementRule{.name = "alldayevent", .fits = IsYesOrNo},
                      ElementRule{.name = "subject"},
                      ElementRule{.name = "location"},
                      ElementRule{.name = "categories"},
                      ElementRule{.name = "body"},
                      ElementRule{.name = "starttime", .fits = IsTime},
                      ElementRule{.name = "endtime", .fits = IsTime},
                      ElementRule{.name = "isrecurring", .fits = IsYesOrNo},
                      ElementRule{.name = "recurrence"},
                      ElementRule{.name = "dayofmonth", .fits = IsNumber},
                      ElementRule{.name = "monthofyear", .fits = IsNumber},
                      ElementRule{.name = "dayofweekmask", .fits = IsNumber},
                      ElementRule{.name = "instance", .fits = IsNumber},
                      ElementRule{.name = "interval", .fits = IsNumber},
                      ElementRule{.name = "patternstartdate", .fits = IsTime},
                      ElementRule{.name = "patternenddate", .fits = IsTime},
                      ElementRule{.name = "occurrences", .fits = IsNumber},
                      ElementRule{.name = "busystatus"},
                      ElementRule{.name = "sensitivity"},
                      ElementRule{.name = "meetingstatus"},
                      ElementRule{.name = "reminderset", .fits = IsYesOrNo},
                      ElementRule{.name = "minutesbeforereminder", .fits = IsNumber},
                      ElementRule{.name = "remindersound"}};
  for (size_t i = 0; i < rules.size(); i++) rules[i].rank = static_cast<int>(i);
  return rules;
}();

}  // namespace brelix
