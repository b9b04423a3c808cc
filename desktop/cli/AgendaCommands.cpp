#include "desktop/cli/AgendaCommands.h"

#include <ctime>
#include <fmt/format.h>
#include <memory>
#include <sstream>

#include "desktop/NewFile.h"
#include "desktop/Text.h"
#include "desktop/agenda/Agenda.h"
#include "desktop/agenda/AppointmentJson.h"
#include "desktop/cli/BadItems.h"
#include "desktop/cli/Progress.h"
#include "desktop/ical/Export.h"
#include "desktop/ical/Span.h"

namespace brelix::cli {
namespace {

struct AgendaRequest {
  uint32_t position = 0;
  std::string file;
  std::string from_text, to_text;
  std::optional<icaltimetype> from, to;
};

std::optional<icaltimetype> Day(const std::string& text, const char* option) {
  if (text.empty()) return std::nullopt;
  std::tm day{};
  const char* end = strptime(text.c_str(), "%Y-%m-%d", &day);
  const LocalTime time{day.tm_year + 1900, day.tm_mon + 1, day.tm_mday, 0, 0, 0};
  const icaltimetype date = ical::ToIcal(time, true);
  if (end == nullptr || *end != '\0' || !ical::Exists(date))
    throw Failure(Exit::kUsage, fmt::format("{}: \"{}\" is no day; give one as 2009-07-12", option, text));
  return date;
}

void CheckDays(AgendaRequest& request) {
  request.from = Day(request.from_text, "--from");
  request.to = Day(request.to_text, "--to");
  if (request.from && request.to && icaltime_compare(*request.from, *request.to) > 0)
    throw Failure(Exit::kUsage, fmt::format("--from {} is later than --to {}", request.from_text, request.to_text));
}

// What cannot be read as a date is not left out by a choice of dates.
bool Chosen(const AgendaRequest& request, const Appointment& item) {
  if (!request.from && !request.to) return true;
  const auto span = ical::SpanOf(item);
  return !span || ical::FallsWithin(*span, request.from, request.to);
}

// Gives every appointment that is asked for to `use`, with its position; false from it says that something is missing.
template <typename Use>
Exit ForEach(Context& context, const AgendaRequest& request, Use use) {
  Agenda agenda(context.session);
  Progress progress("agenda", std::nullopt);
  BadItems bad("appointment");
  bool complete = true;
  ItemWalk<Appointment> walk = bad.Walk<Appointment>([&](uint64_t position, const Appointment& item) {
    if (Chosen(request, item) && !use(static_cast<uint32_t>(position), item)) complete = false;
  });
  walk.step = [&](uint64_t total) { progress.Step(total); };
  WalkAppointments(agenda, walk);
  const Exit outcome = bad.Outcome();
  return complete ? outcome : Exit::kPartial;
}

Json Indexed(uint32_t position, const Appointment& item) {
  Json object{{"index", position}};
  object.update(ToJson(item));
  return object;
}

// A day for what lasts all day, else a time to the minute.
std::string When(const Appointment& item, const std::optional<LocalTime>& time) {
  if (!time) return "unknown";
  return TimeText(*time, ' ').substr(0, item.all_day ? 10 : 16);
}

// The last day of what lasts several days.
std::string EndText(const Appointment& item) {
  if (!item.all_day) return When(item, item.end);
  const auto span = ical::SpanOf(item);
  const icaltimetype last = span ? ical::DaysLater(span->end, -1) : icaltime_null_date();
  if (!span || ical::SameDay(last, span->start)) return "all day";
  return TimeText(ical::FromIcal(last), ' ').substr(0, 10);
}

Exit ShowList(Context& context, const AgendaRequest& request) {
  context.phone.Start();
  List list(context.options.json, {{"N", true}, {"Start"}, {"End"}, {"Subject", false, true}, {"Recurs", false, true}});
  const Exit outcome = ForEach(context, request, [&](uint32_t position, const Appointment& item) {
    list.Add(Indexed(position, item),
             {std::to_string(position), When(item, item.start), EndText(item), item.subject.value_or(""),
              item.recurrence ? RecurrenceText(*item.recurrence) : ""});
    return true;
  });
  list.Finish();
  return outcome;
}

// A text of several lines, of which none can steer the terminal.
std::string PrintableLines(const std::string& text) {
  std::string out;
  std::istringstream lines(text);
  for (std::string line; std::getline(lines, line);) {
    if (line.ends_with('\r')) line.pop_back();
    out += Printable(line) + "\n";
  }
  return out;
}

std::optional<std::string> Reminder(const Appointment& item) {
  if (!item.reminder_set) return "none";
  if (!item.reminder_minutes) return std::nullopt;
  return fmt::format("{} minutes before", *item.reminder_minutes);
}

Appointment ReadOne(Session& session, uint32_t position) {
  try {
    return Agenda(session).Get(position);
  } catch (const Failure& failure) {
    throw Failure(failure.code(), fmt::format("appointment {}: {}", position, failure.what()));
  }
}

Exit ShowOne(Context& context, const AgendaRequest& request) {
  context.phone.Start();
  const Appointment item = ReadOne(context.session, request.position);
  const Json object = Indexed(request.position, item);
  if (context.options.json) {
    WriteToStdout(JsonLine(object));
    return Exit::kOk;
  }
  Report& report = context.report;
  const auto add = [&](const char* label, const std::optional<std::string>& text) {
    report.Add(label, text, label, {});
  };
  add("Number", std::to_string(item.oid));
  add("Subject", item.subject.value_or(""));
  add("Location", item.location.value_or(""));
  add("Start", item.start ? std::optional(When(item, item.start)) : std::nullopt);
  if (item.all_day) add("All day", "yes");
  // All-day appointments of some phones end a minute before midnight, of others at midnight.
  add("End", item.end ? std::optional(TimeText(*item.end, ' ').substr(0, 16)) : std::nullopt);
  add("Recurs", item.recurrence ? RecurrenceText(*item.recurrence) : "no");
  add("Reminder", Reminder(item));
  add("Busy status", std::string(Word(item.busy_status)));
  add("Sensitivity", std::string(Word(item.sensitivity)));
  add("Meeting", std::string(Word(item.meeting_status)));
  add("Categories", item.categories.value_or(""));
  if (item.ambiguous) add("Note", "its texts could be told apart in another way");
  if (item.body) report.Below("\n" + PrintableLines(*item.body));
  return Exit::kOk;
}

// Tells the phone from others without giving its serial number away with every event.
std::string PhoneName(Client& phone) {
  std::string serial;
  try {
    serial = phone.SerialNumber().value_or("");
  } catch (const Failure& failure) {
    if (failure.code() != Exit::kPhoneError && failure.code() != Exit::kRefused) throw;
  }
  uint64_t hash = 0xCBF29CE484222325;  // FNV-1a, the 64-bit one: must come out the same on every desktop
  for (const char c : serial) hash = (hash ^ static_cast<uint8_t>(c)) * 0x100000001B3;
  return fmt::format("{:016x}", hash);
}

Exit ExportFile(Context& context, const AgendaRequest& request) {
  NewFile file(request.file);
  context.phone.Start();
  const std::string phone = PhoneName(context.phone);
  const icaltimetype now = icaltime_current_time_with_zone(icaltimezone_get_utc_timezone());
  uint32_t events = 0;
  file.Write(ical::CalendarBegin());
  const Exit outcome = ForEach(context, request, [&](uint32_t position, const Appointment& item) {
    const ical::ExportedEvent event = ical::ToEvent(item, phone, now);
    for (const std::string& note : event.notes)
      Complain(fmt::format("appointment {} \"{}\": {}", position, item.subject.value_or(""), note));
    file.Write(event.text);
    if (!event.text.empty()) events++;
    return event.complete;
  });
  if (events == 0 && outcome != Exit::kOk)
    throw Failure(Exit::kPhoneError, fmt::format("nothing can be exported; {} is as it was", request.file));
  file.Write(ical::CalendarEnd());
  file.Commit();
  if (request.file == "-") return outcome;
  context.report.Add("Events", std::to_string(events), "events", events);
  context.report.Add("Written to", "file", request.file);
  return outcome;
}

void AddDays(CLI::App& command, AgendaRequest& request) {
  command.add_option("--from", request.from_text, "Only what falls on this day, 2009-07-12, or later");
  command.add_option("--to", request.to_text, "Only what falls on this day or earlier");
}

}  // namespace

void DeclareAgenda(CLI::App& app, Action& chosen) {
  const auto request = std::make_shared<AgendaRequest>();
  CLI::App* agenda = AddGroup(app, "agenda", "The phone's calendar: list, show, export as iCalendar");

  CLI::App* list = agenda->add_subcommand("list", "Every appointment; with --json one object a line");
  AddDays(*list, *request);
  list->callback([request, &chosen] {
    CheckDays(*request);
    chosen = [request](Context& context) { return ShowList(context, *request); };
  });

  CLI::App* get = agenda->add_subcommand("get", "One appointment, by its number in the list");
  get->add_option("N", request->position, "Its number in the list, from 1 on")
      ->required()
      ->check(CLI::Range(1u, UINT32_MAX));
  get->callback([request, &chosen] { chosen = [request](Context& context) { return ShowOne(context, *request); }; });

  CLI::App* save = agenda->add_subcommand("export", "Write the calendar to a file");
  save->add_option("--ical", request->file, "The iCalendar file to write; - for standard output")->required();
  AddDays(*save, *request);
  save->callback([request, &chosen] {
    CheckDays(*request);
    chosen = [request](Context& context) { return ExportFile(context, *request); };
  });
}

}  // namespace brelix::cli
