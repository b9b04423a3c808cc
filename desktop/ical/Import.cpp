#include "desktop/ical/Import.h"

#include <fmt/format.h>
#include <map>

#include "desktop/Failure.h"
#include "desktop/Text.h"
#include "desktop/ical/CalendarFile.h"
#include "desktop/ical/EventReader.h"

namespace brelix::ical {
namespace {

constexpr size_t kMostEvents = 100000;  // more than any phone, and still little memory

std::string Joined(const std::vector<std::string>& notes) {
  std::string out;
  for (const std::string& note : notes) out += (out.empty() ? "" : "; ") + note;
  return out;
}

class Reading {
 public:
  Reading(std::string name, const UtcToLocal& to_local) : name_(std::move(name)), to_local_(to_local) {}

  void Take(const Block& block) {
    if (block.name == "VTIMEZONE") return;  // times stay as they are written, whatever the zone
    if (block.name != "VEVENT") return Note(block.line, fmt::format("{} left out: it is no event", block.name));
    const Component event(icalparser_parse_string(block.text.c_str()));
    if (!event || icalcomponent_isa(event.get()) != ICAL_VEVENT_COMPONENT)
      return Note(block.line, "VEVENT left out: it cannot be read");
    if (out_.appointments.size() == kMostEvents)
      throw Failure(Exit::kLocalFile, fmt::format("{}:{}: more than {} events", name_, block.line, kMostEvents));
    EventReader reader(event.get(), to_local_);
    auto item = reader.Read();
    for (const std::string& zone : reader.zones()) zones_[zone]++;
    const char* summary = icalcomponent_get_summary(event.get());
    if (!reader.notes().empty())
      Note(block.line, fmt::format("\"{}\": {}", summary == nullptr ? "" : summary, Joined(reader.notes())));
    if (item) out_.appointments.push_back(std::move(*item));
  }

  ImportedCalendar Finish(size_t lines) {
    for (const auto& [zone, events] : zones_)
      Note(lines, zone == "UTC"
                      ? fmt::format("times in UTC became the phone's local time, in {} of its events", events)
                      : fmt::format("times in {} are kept as they are written, in {} of its events", zone, events));
    return std::move(out_);
  }

 private:
  void Note(size_t line, const std::string& text) {
    out_.notes.push_back(Printable(fmt::format("{}:{}: {}", name_, line, text)));
  }

  const std::string name_;
  const UtcToLocal& to_local_;
  std::map<std::string, int> zones_;
  ImportedCalendar out_;
};

}  // namespace

ImportedCalendar ReadCalendar(std::istream& in, const std::string& name, const UtcToLocal& to_local) {
  icalerror_set_errors_are_fatal(0);  // what libical cannot read is told, not a reason to abort
  CalendarFile file(in, name);
  Reading reading(name, to_local);
  while (const auto block = file.Next()) reading.Take(*block);
  return reading.Finish(file.lines());
}

}  // namespace brelix::ical
