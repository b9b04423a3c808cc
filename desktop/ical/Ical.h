// libical's things held safely, and times from and to it.
#pragma once

#include <libical/ical.h>
#include <memory>
#include <optional>
#include <string>

#include "desktop/Client.h"

namespace brelix::ical {

struct ComponentFree {
  void operator()(icalcomponent* component) const { icalcomponent_free(component); }
};
using Component = std::unique_ptr<icalcomponent, ComponentFree>;

// A time in no zone at all: what the phone's clock shows. As a date it has no time of day.
icaltimetype ToIcal(const LocalTime& time, bool as_date);
LocalTime FromIcal(const icaltimetype& time);
// Whether there is such a time; ParseTimestamp lets a 31 February pass. Nor are there years that libical does not
// write.
bool Exists(const icaltimetype& time);
// The date of a time, and a date so many days later.
icaltimetype DateOf(const icaltimetype& time);
icaltimetype DaysLater(icaltimetype date, int days);
bool SameDay(const icaltimetype& a, const icaltimetype& b);

// What a libical function that returns a text of its own left behind.
std::string Owned(char* text);

// The occurrences of a rule from a start on, one after the other. A start that the rule does not yield is none.
class Occurrences {
 public:
  Occurrences(const icalrecurrencetype& rule, const icaltimetype& start);
  // Nothing after the last one, or beyond the last year that libical counts to.
  std::optional<icaltimetype> Next();

 private:
  struct Free {
    void operator()(icalrecur_iterator* iterator) const { icalrecur_iterator_free(iterator); }
  };
  std::unique_ptr<icalrecur_iterator, Free> iterator_;
};

}  // namespace brelix::ical
