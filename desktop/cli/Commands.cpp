#include "desktop/cli/Commands.h"

#include <charconv>
#include <fmt/format.h>

#include "desktop/Client.h"
#include "desktop/Text.h"
#include "desktop/Wire.h"

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

template <typename T>
Json OrNull(const std::optional<T>& value) {
  return value ? Json(*value) : Json();
}

std::string TimeText(const LocalTime& t, char between) {
  std::string text = fmt::format("{:04}-{:02}-{:02}{}{:02}:{:02}", t.year, t.month, t.day, between, t.hour, t.minute);
  if (t.second) text += fmt::format(":{:02}", *t.second);
  return text;
}

void DeclareNothing(CLI::App&, Request&) {}
void CheckNothing(const Request&) {}

Exit Info(const Request&, Session& session, Report& report) {
  Client phone(session);
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

Exit Status(const Request&, Session& session, Report& report) {
  Client phone(session);
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

Exit ShowClock(const Request&, Session& session, Report& report) {
  Client phone(session);
  const LocalTime opened = phone.Start();
  const std::optional<LocalTime> time = phone.VolatileInfo().phone_time;
  std::optional<std::string> shown;
  if (time) shown = TimeText(*time, ' ') + " (the phone's local time)";
  report.Add("Phone time", shown, "phone_time", time ? Json(TimeText(*time, 'T')) : Json());
  report.Add("At session open", TimeText(opened, ' '), "open_time", TimeText(opened, 'T'));
  report.Add("Time zone", "as set on the phone", "time_zone", "device-local");
  return Exit::kOk;
}

uint16_t Word(const std::string& text, const char* what) {
  const bool hex = text.starts_with("0x") || text.starts_with("0X");
  const char* from = text.data() + (hex ? 2 : 0);
  const char* to = text.data() + text.size();
  uint16_t value = 0;
  const auto [end, error] = std::from_chars(from, to, value, hex ? 16 : 10);
  if (from == to || end != to || error != std::errc())
    throw Failure(Exit::kUsage,
                  fmt::format("raw: {} \"{}\" is not a number from 0 to 65535 (0x for hexadecimal)", what, text));
  return value;
}

Bytes FromHex(const std::vector<std::string>& words) {
  std::string digits;
  for (const std::string& word : words) digits += word;
  Bytes out;
  for (size_t at = 0; at < digits.size(); at += 2) {
    uint8_t byte = 0;
    const char* from = digits.data() + at;
    const auto [end, error] = std::from_chars(from, from + std::min<size_t>(2, digits.size() - at), byte, 16);
    if (end != from + 2 || error != std::errc())
      throw Failure(Exit::kUsage, fmt::format("raw: the data must be pairs of hexadecimal digits; digit {} is "
                                              "not one, or stands alone",
                                              at + 1));
    out.push_back(byte);
  }
  return out;
}

void DeclareRaw(CLI::App& app, Request& request) {
  app.add_option("MODULE", request.module, "Module number, 0x for hexadecimal")->required();
  app.add_option("COMMAND", request.command, "Command number, 0x for hexadecimal")->required();
  app.add_option("HEX", request.hex, "Data as hexadecimal digits");
  app.add_flag("--no-handshake", request.no_handshake, "Send nothing before it, neither handshake nor open");
  app.add_flag("--no-open", request.no_open, "Send it after the handshake alone");
}

void CheckRaw(const Request& request) {
  BuildRequest(Word(request.module, "module"), Word(request.command, "command"), FromHex(request.hex), 0xF000);
}

Exit Raw(const Request& request, Session& session, Report& report) {
  static constexpr const char* kKinds[] = {"answer", "refused", "default"};
  Client phone(session);
  if (!request.no_handshake) session.Handshake();
  if (!request.no_handshake && !request.no_open) phone.Open();
  const Reply reply =
      session.Ask(Word(request.module, "module"), Word(request.command, "command"), FromHex(request.hex));
  const Frame& frame = reply.frame;
  const char* kind = kKinds[static_cast<int>(reply.kind)];
  report.Add("Reply", std::string(kind), "kind", kind);
  report.Add("Module", std::to_string(frame.module), "module", frame.module);
  report.Add("Command", std::to_string(frame.command), "command", frame.command);
  report.Add("Packet number", fmt::format("0x{:04X}", frame.number), "packet_number", frame.number);
  report.Add("Length field", std::to_string(frame.length), "length_field", frame.length);
  report.Add("Data", fmt::format("{} bytes", frame.data.size()), "data",
             Hex({reinterpret_cast<const char*>(frame.data.data()), frame.data.size()}));
  report.Below(HexDump(frame.data));
  return reply.kind == Reply::Kind::kAnswer ? Exit::kOk : Exit::kRefused;
}

constexpr Command kCommands[] = {
    {"info", "Who the phone is: IMEI, number, maker, model, versions, storage card", DeclareNothing, CheckNothing,
     Info},
    {"status", "How the phone is: memory, external power, battery", DeclareNothing, CheckNothing, Status},
    {"clock", "What time the phone thinks it is", DeclareNothing, CheckNothing, ShowClock},
    {"raw", "Send one request as it is and show the reply", DeclareRaw, CheckRaw, Raw},
};

}  // namespace

std::span<const Command> Commands() { return kCommands; }

}  // namespace brelix::cli
