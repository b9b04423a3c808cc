// One VEVENT as an appointment.
#pragma once

#include <map>
#include <optional>
#include <string>
#include <vector>

#include "desktop/agenda/Appointment.h"
#include "desktop/ical/Ical.h"
#include "desktop/ical/Import.h"

namespace brelix::ical {

// Used once.
class EventReader {
 public:
  EventReader(icalcomponent* event, const UtcToLocal& to_local) : event_(event), to_local_(to_local) {}

  // Nothing when the event has no date, or is the change of one occurrence of another event; a note says so.
  std::optional<Appointment> Read();
  const std::vector<std::string>& notes() const { return notes_; }
  // The zones whose times were taken as they are written; "UTC" for those that were converted.
  const std::vector<std::string>& zones() const { return zones_; }

 private:
  struct Moment {
    icaltimetype written, local;
    std::string zone;  // "" for none, "UTC", or a TZID
  };
  void Note(const std::string& text) { notes_.push_back(text); }
  icaltimetype Local(const icaltimetype& time) const;
  std::optional<Moment> MomentOf(icalproperty_kind kind);
  bool ReadTimes(Appointment& item);
  icaltimetype EndOf(const Moment& start);
  void ReadProperty(icalproperty* property, Appointment& item);
  void ReadX(icalproperty* property, Appointment& item);
  void ReadText(std::optional<std::string>& to, icalproperty* property);
  void ReadCategory(icalproperty* property, Appointment& item);
  void ReadClass(icalproperty* property, Appointment& item);
  void LeaveOut(icalproperty* property);
  void TellLeftOut();
  void ReadPattern(Appointment& item);
  std::optional<Recurrence> PatternOfRule(const icalrecurrencetype& rule);
  void ReadEnd(const icalrecurrencetype& rule, const icalrecurrencetype& said, Recurrence& pattern);
  icaltimetype LastDay(const icaltimetype& until) const;
  void Compare(icalrecurrencetype rule, const icalrecurrencetype& said);
  void ReadAlarms(Appointment& item);
  std::optional<int64_t> MinutesBefore(icalcomponent* alarm);

  icalcomponent* event_;
  const UtcToLocal& to_local_;
  Moment start_{};
  icaltimetype end_{};
  bool busy_told_ = false;
  std::vector<std::string> notes_;
  std::vector<std::string> zones_;
  std::map<std::string, int> left_out_;
};

}  // namespace brelix::ical
