#include "desktop/Client.h"

#include <algorithm>
#include <array>
#include <fmt/format.h>

#include "desktop/Document.h"
#include "desktop/Text.h"
#include "desktop/Wire.h"

namespace brelix {
namespace {

constexpr std::array<std::string_view, 6> kPermanent = {"cpumanufacturer", "cpumodel",   "radioversion", "imei",
                                                        "osversion",       "flashfolder"};
constexpr std::array<std::string_view, 7> kVolatile = {"phonetime", "memoryload",    "totalmemory",       "availmemory",
                                                       "acpower",   "batterystatus", "batterylifepercent"};

constexpr size_t kOpenAnswer = 8;  // a fixed number, year, month, day, hour, minute; no seconds reach the wire

std::string_view AsText(ByteView bytes) { return {reinterpret_cast<const char*>(bytes.data()), bytes.size()}; }

bool Exists(const LocalTime& t) {
  return t.month >= 1 && t.month <= 12 && t.day >= 1 && t.day <= 31 && t.hour <= 23 && t.minute <= 59 &&
         t.second.value_or(0) <= 59;
}

std::optional<std::string> OneByteText(ByteView bytes) {
  if (bytes.empty()) return std::nullopt;
  return Latin1ToUtf8(AsText(bytes));
}

// Memory sizes are printed by the phone as signed 32-bit numbers: from 2 GiB up they come out negative.
std::optional<int64_t> MemorySize(std::optional<int64_t> printed) {
  if (printed && *printed < 0) *printed += int64_t{1} << 32;
  return printed;
}

}  // namespace

std::optional<LocalTime> ParseTimestamp(std::string_view text) {
  constexpr std::string_view kForm = "ddddddddTddddddZ";
  if (text.size() != kForm.size()) return std::nullopt;
  for (size_t i = 0; i < kForm.size(); i++) {
    const bool digit = text[i] >= '0' && text[i] <= '9';
    if (kForm[i] == 'd' ? !digit : text[i] != kForm[i]) return std::nullopt;
  }
  const auto number = [&](size_t at, size_t size) {
    int value = 0;
    for (const char c : text.substr(at, size)) value = value * 10 + (c - '0');
    return value;
  };
  const LocalTime time{number(0, 4), number(4, 2), number(6, 2), number(9, 2), number(11, 2), number(13, 2)};
  if (!Exists(time)) return std::nullopt;
  return time;
}

std::string TimeText(const LocalTime& t, char between) {
  std::string text = fmt::format("{:04}-{:02}-{:02}{}{:02}:{:02}", t.year, t.month, t.day, between, t.hour, t.minute);
  if (t.second) text += fmt::format(":{:02}", *t.second);
  return text;
}

LocalTime Client::Start() {
  session_.Handshake();
  return Open();
}

LocalTime Client::Open() {
  const Bytes data = session_.Answer(wire::kSystem, wire::kOpen);
  if (data.size() < kOpenAnswer)
    throw Failure(Exit::kProtocol, fmt::format("{}: the answer to open has {} bytes instead of {}", session_.address(),
                                               data.size() + 4, kOpenAnswer + 4));
  return {Read16(data, 2), data[4], data[5], data[6], data[7], std::nullopt};
}

std::optional<std::string> Client::SerialNumber() {
  return OneByteText(session_.Answer(wire::kSystem, wire::kSerialNumber));
}

std::optional<std::string> Client::SubscriberNumber() {
  return OneByteText(session_.Answer(wire::kSystem, wire::kSubscriberNumber));
}

PermanentInfo Client::PermanentInfo() {
  const Bytes data = session_.Answer(wire::kSystem, wire::kPermanentInfo);
  const Document document(AsText(data), "permanentinfo", kPermanent);
  brelix::PermanentInfo info;
  info.manufacturer = document.Text("cpumanufacturer");  // these two speak of the radio, whatever they are called
  info.model = document.Text("cpumodel");
  info.radio_version = document.Text("radioversion");
  // One byte per character, unlike everything around it.
  if (const auto imei = document.Raw("imei"); imei && !imei->empty()) info.imei = Latin1ToUtf8(*imei);
  info.os_version = document.Text("osversion");
  info.storage_card = document.Text("flashfolder");
  return info;
}

VolatileInfo Client::VolatileInfo() {
  const Bytes data = session_.Answer(wire::kSystem, wire::kVolatileInfo);
  const Document document(AsText(data), "volatileinfo", kVolatile);
  brelix::VolatileInfo info;
  info.phone_time = ParseTimestamp(document.Raw("phonetime").value_or(""));
  info.memory_load_percent = document.Number("memoryload");
  info.memory_total = MemorySize(document.Number("totalmemory"));
  info.memory_available = MemorySize(document.Number("availmemory"));
  if (const auto power = document.Raw("acpower")) info.ac_power = *power == "on";
  info.battery = document.Text("batterystatus");
  if (info.battery == "unknown") info.battery.reset();
  info.battery_percent = document.Number("batterylifepercent");
  return info;
}

}  // namespace brelix
