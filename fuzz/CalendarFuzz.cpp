// The reading of iCalendar files that anybody may have made or broken.
#include "fuzz/CalendarRoundTrip.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  const fuzz::ForgetTexts forget;
  brelix::ical::ImportedCalendar read;
  try {
    std::istringstream in(std::string(reinterpret_cast<const char*>(bytes), size));
    read = brelix::ical::ReadCalendar(in, "days.ics", fuzz::OneHourBehind);
  } catch (const brelix::Failure& failure) {
    fuzz::Check(failure.code() == brelix::Exit::kLocalFile);
    fuzz::Check(std::string_view(failure.what()).starts_with("days.ics:"));
  }
  for (const std::string& note : read.notes) fuzz::Check(note.find('\n') == note.npos);
  for (const brelix::Appointment& item : read.appointments) {
    fuzz::Check(item.start && item.end);
    fuzz::RoundTrip(item);
  }
  return 0;
}
