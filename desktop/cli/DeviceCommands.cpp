#include "desktop/cli/DeviceCommands.h"

#include <fmt/format.h>

namespace brelix::cli {
namespace {

std::optional<std::string> Percent(std::optional<int64_t> value) {
  if (!value) return std::nullopt;
  return fmt::format("{} %", *value);
}

std::optional<std::string> Size(std::optional<int64_t> value) {
  if (!value) return std::nullopt;
  return ReadableSize(*value);
}

Exit Info(Context& context) {
  Client& phone = context.phone;
  Report& report = context.report;
  phone.Start();
  const PermanentInfo info = phone.PermanentInfo();
  report.Add("IMEI", "imei", info.imei);
  report.Add("Number", "number", phone.SubscriberNumber());
  report.Add("Manufacturer", "manufacturer", info.manufacturer);
  report.Add("Model", "model", info.model);
  report.Add("Radio version", "radio_version", info.radio_version);
  report.Add("OS version", "os_version", info.os_version);
  report.Add("Storage card", info.storage_card.value_or("none"), "storage_card", OrNull(info.storage_card));
  return Exit::kOk;
}

Exit Status(Context& context) {
  Client& phone = context.phone;
  Report& report = context.report;
  phone.Start();
  const VolatileInfo info = phone.VolatileInfo();
  std::optional<std::string> power;
  if (info.ac_power) power = *info.ac_power ? "on" : "off";
  report.Add("Memory in use", Percent(info.memory_load_percent), "memory_load_percent",
             OrNull(info.memory_load_percent));
  report.Add("Memory", Size(info.memory_total), "memory_total_bytes", OrNull(info.memory_total));
  report.Add("Memory available", Size(info.memory_available), "memory_available_bytes", OrNull(info.memory_available));
  report.Add("External power", power, "ac_power", OrNull(info.ac_power));
  report.Add("Battery", "battery", info.battery);
  report.Add("Battery charge", Percent(info.battery_percent), "battery_percent", OrNull(info.battery_percent));
  return Exit::kOk;
}

Exit ShowClock(Context& context) {
  Client& phone = context.phone;
  Report& report = context.report;
  const LocalTime opened = phone.Start();
  const std::optional<LocalTime> time = phone.VolatileInfo().phone_time;
  std::optional<std::string> shown;
  if (time) shown = TimeText(*time, ' ') + " (the phone's local time)";
  report.Add("Phone time", shown, "phone_time", time ? Json(TimeText(*time, 'T')) : Json());
  report.Add("At session open", TimeText(opened, ' '), "open_time", TimeText(opened, 'T'));
  report.Add("Time zone", "as set on the phone", "time_zone", "device-local");
  return Exit::kOk;
}

}  // namespace

void DeclareInfo(CLI::App& app, Action& chosen) {
  app.add_subcommand("info", "Who the phone is: IMEI, number, maker, model, versions, storage card")
      ->callback([&chosen] { chosen = Info; });
}

void DeclareStatus(CLI::App& app, Action& chosen) {
  app.add_subcommand("status", "How the phone is: memory, external power, battery")->callback([&chosen] {
    chosen = Status;
  });
}

void DeclareClock(CLI::App& app, Action& chosen) {
  app.add_subcommand("clock", "What time the phone thinks it is")->callback([&chosen] { chosen = ShowClock; });
}

}  // namespace brelix::cli
