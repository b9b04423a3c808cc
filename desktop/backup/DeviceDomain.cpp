// The phone's own facts: its radio, operating system, memory and power.
#include <array>
#include <charconv>

#include "desktop/Document.h"
#include "desktop/Text.h"
#include "desktop/Wire.h"
#include "desktop/backup/Domains.h"
#include "desktop/backup/PhoneTexts.h"
#include "handset/store/StoreRows.h"

namespace brelix::backup {

namespace {

constexpr std::u16string_view kLineName = u"Cellular Line";  // the one that an agent looks for

constexpr std::array<std::string_view, 4> kNotCarried = {
    "telephone lines other than the cellular one, and the platform number of the operating system",
    "characters of the serial number and the subscriber number beyond U+00FF",
    "battery states for which the wire has no word, and the clock's time zone",
    "what the network does with text messages, and the messages sent that no folder shows",
};

constexpr std::array<std::string_view, 6> kPermanent = {"cpumanufacturer", "cpumodel",   "radioversion", "imei",
                                                        "osversion",       "flashfolder"};

// The radio's texts as the phone has them, half surrogate pairs included.
handset::Line LineOf(Client& phone, const Document& document) {
  const auto text = [&](std::string_view element) { return PhoneText(document.Raw(element).value_or("")); };
  return {.name = std::u16string(kLineName),
          .manufacturer = text("cpumanufacturer"),
          .model = text("cpumodel"),
          .revision = text("radioversion"),
          .serialNumber = TextOfUtf8(phone.SerialNumber().value_or("")),
          .subscriberNumber = TextOfUtf8(phone.SubscriberNumber().value_or(""))};
}

// "5.2.1620", each a signed 32-bit number. Nothing for any other text.
std::optional<handset::Os> OsOf(std::string_view text) {
  handset::Os os;
  for (uint32_t* number : {&os.major, &os.minor, &os.build}) {
    int32_t value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc()) return std::nullopt;
    *number = static_cast<uint32_t>(value);
    text.remove_prefix(static_cast<size_t>(end - text.data()));
    if (number == &os.build) break;
    if (!text.starts_with('.')) return std::nullopt;
    text.remove_prefix(1);
  }
  if (!text.empty()) return std::nullopt;
  return os;
}

handset::Os OsOf(const Document& document, Watch& watch) {
  const auto text = document.Raw("osversion");
  if (!text) return {.queryFails = true};
  if (const auto os = OsOf(*text)) return *os;
  watch.Lost({"osversion", "osversion: the phone tells no version numbers: " + CleanUtf8(*text)});
  return {};
}

handset::Memory MemoryOf(const VolatileInfo& info) {
  return {.load = static_cast<uint32_t>(info.memory_load_percent.value_or(0)),
          .totalPhysical = static_cast<uint32_t>(info.memory_total.value_or(0)),
          .availablePhysical = static_cast<uint32_t>(info.memory_available.value_or(0))};
}

struct BatteryWord {
  std::string_view word;
  uint8_t flag;
};
constexpr std::array<BatteryWord, 5> kBatteryWords = {
    {{"high", 1}, {"low", 2}, {"critical", 4}, {"charging", 8}, {"absent", 128}}};
constexpr uint8_t kUnknown = 255;

// A phone whose power query fails leaves out whether it is plugged in.
handset::Power PowerOf(const VolatileInfo& info) {
  handset::Power power{.acLine = info.ac_power.value_or(false),
                       .batteryFlag = kUnknown,
                       .batteryPercent = static_cast<uint8_t>(info.battery_percent.value_or(kUnknown)),
                       .queryFails = !info.ac_power};
  for (const BatteryWord& row : kBatteryWords)
    if (row.word == info.battery) power.batteryFlag = row.flag;
  return power;
}

void Take(const Taking& taking) {
  Client phone(taking.session);
  const Bytes data = taking.session.Answer(wire::kSystem, wire::kPermanentInfo);
  const Document document({reinterpret_cast<const char*>(data.data()), data.size()}, "permanentinfo", kPermanent);
  const handset::Line line = LineOf(phone, document);
  const VolatileInfo info = phone.VolatileInfo();
  Batch batch(taking.folder.database());
  handset::ReplaceDevice(taking.folder.database(), {line}, OsOf(document, taking.watch), MemoryOf(info), PowerOf(info));
  batch.Finish();
  taking.watch.Advance(1);
}

// The line that an agent chooses of many: the last of this name. Of a phone without one, the wire tells empty texts.
handset::Line CellularLine(const PhoneFolder& folder) {
  handset::Line chosen{.name = std::u16string(kLineName)};
  for (const handset::Line& line : handset::SelectLines(folder.database()))
    if (line.name == kLineName) chosen = line;
  return chosen;
}

void ForEach(const PhoneFolder& folder, const RecordSink& sink) {
  handset::Description facts;
  facts.lines = {CellularLine(folder)};
  facts.os = handset::SelectOs(folder.database());
  facts.memory = handset::SelectMemory(folder.database());
  facts.power = handset::SelectPower(folder.database());
  const nlohmann::json printed = handset::PrintDescription(facts);
  sink({"line", printed["lines"][0]});
  for (const char* key : {"memory", "os", "power"}) sink({key, printed[key]});
}

}  // namespace

const Domain kDeviceDomain = {
    .name = "device", .item = "fact", .not_carried = kNotCarried, .clear = nullptr, .take = Take, .for_each = ForEach};

}  // namespace brelix::backup
