#include "desktop/cli/CallCommands.h"

#include <fmt/format.h>
#include <memory>

#include "desktop/Csv.h"
#include "desktop/NewFile.h"
#include "desktop/calls/CallLog.h"
#include "desktop/cli/BadItems.h"
#include "desktop/cli/Progress.h"

namespace brelix::cli {
namespace {

constexpr const char* kZone = "device-local";

std::optional<std::string> TimeText(const std::optional<LocalTime>& time, char between) {
  if (!time) return std::nullopt;
  return brelix::TimeText(*time, between);
}

// "1:02:03"
std::string DurationText(std::optional<int64_t> seconds) {
  if (!seconds) return "unknown";
  return fmt::format("{}:{:02}:{:02}", *seconds / 3600, *seconds / 60 % 60, *seconds % 60);
}

Json AsJson(const Call& call) {
  Json json = {{"start", OrNull(TimeText(call.start, 'T'))},
               {"end", OrNull(TimeText(call.end, 'T'))},
               {"zone", kZone},
               {"duration_seconds", OrNull(call.DurationSeconds())},
               {"direction", OrNull(call.direction)},
               {"progress", OrNull(call.progress)},
               {"caller_id", OrNull(call.caller_id)},
               {"number", OrNull(call.number)},
               {"phone_type", OrNull(call.phone_type)},
               {"name", OrNull(call.name)}};
  if (call.ambiguous) json["ambiguous"] = true;
  return json;
}

const std::vector<List::Column> kColumns = {{"Start (phone's clock)"}, {"Duration", true}, {"Call"},      {"Number"},
                                            {"Name", false, true},     {"Type"},           {"Caller id"}, {"Note"}};

std::vector<std::string> AsCells(const Call& call) {
  std::string kind = call.direction.value_or("unknown");
  if (call.progress) kind += ", " + *call.progress;
  return {TimeText(call.start, ' ').value_or("unknown"),
          DurationText(call.DurationSeconds()),
          kind,
          call.number.value_or(""),
          call.name.value_or(""),
          call.phone_type.value_or(""),
          call.caller_id.value_or("unknown"),
          call.ambiguous ? "ambiguous" : ""};
}

const std::vector<std::string> kCsvTitles = {"start",      "end",      "zone",      "duration_seconds",
                                             "direction",  "progress", "caller_id", "number",
                                             "phone_type", "name",     "ambiguous"};

std::vector<std::string> AsFields(const Call& call) {
  const auto seconds = call.DurationSeconds();
  return {TimeText(call.start, 'T').value_or(""),
          TimeText(call.end, 'T').value_or(""),
          kZone,
          seconds ? std::to_string(*seconds) : "",
          call.direction.value_or(""),
          call.progress.value_or(""),
          call.caller_id.value_or(""),
          call.number.value_or(""),
          call.phone_type.value_or(""),
          call.name.value_or(""),
          call.ambiguous ? "true" : ""};
}

Exit ForEachCall(Context& context, const std::function<void(const Call&)>& take) {
  context.phone.Start();
  CallLog log(context.session);
  Progress progress("calls", std::nullopt);
  BadItems items("call");
  ItemWalk<Call> walk = items.Walk<Call>([&](uint64_t, const Call& call) { take(call); });
  walk.step = [&](uint64_t total) { progress.Step(total); };
  WalkCalls(log, walk);
  return items.Outcome();
}

Exit ListCalls(Context& context) {
  List list(context.options.json, kColumns);
  const Exit outcome = ForEachCall(context, [&](const Call& call) { list.Add(AsJson(call), AsCells(call)); });
  list.Finish();
  return outcome;
}

Exit ExportCalls(Context& context, const std::string& path) {
  NewFile file(path);
  file.Write(CsvLine(kCsvTitles));
  const Exit outcome = ForEachCall(context, [&](const Call& call) { file.Write(CsvLine(AsFields(call))); });
  file.Commit();
  return outcome;
}

}  // namespace

void DeclareCalls(CLI::App& app, Action& chosen) {
  CLI::App* calls = AddGroup(app, "calls", "The phone's call history");
  calls->add_subcommand("list", "List the calls, newest first; times are by the phone's own clock")
      ->callback([&chosen] { chosen = ListCalls; });
  const auto path = std::make_shared<std::string>();
  CLI::App* to_file = calls->add_subcommand("export", "Write the calls to a file");
  to_file->add_option("--csv", *path, "The file, as comma-separated values (RFC 4180); - for standard output")
      ->required();
  to_file->callback([path, &chosen] { chosen = [path](Context& context) { return ExportCalls(context, *path); }; });
}

}  // namespace brelix::cli
