#include "handset/store/RadioDescription.h"

#include <set>

#include "handset/store/JsonFields.h"
#include "platform/Bluetooth.h"

namespace handset {

namespace {

using nlohmann::json;

struct ProviderName {
  std::string_view name;
  RadioProvider provider;
};
constexpr std::array<ProviderName, 2> kProviders = {
    {{"scripted", RadioProvider::kScripted}, {"bluez", RadioProvider::kBluez}}};

struct ModeName {
  std::string_view name;
  std::uint32_t mode;
};
constexpr std::array<ModeName, 3> kModes = {
    {{"off", ce::BTH_POWER_OFF}, {"connectable", ce::BTH_CONNECTABLE}, {"discoverable", ce::BTH_DISCOVERABLE}}};

RadioProvider ParseProvider(const JsonNode& node) {
  const std::string wanted = node.String();
  for (const ProviderName& known : kProviders) {
    if (known.name == wanted) return known.provider;
  }
  node.Misfit("\"scripted\" or \"bluez\"");
}

std::uint32_t ParseMode(const JsonNode& node) {
  if (!node.GetJson().is_string()) return node.Number<std::uint32_t>();
  const std::string wanted = node.String();
  for (const ModeName& known : kModes) {
    if (known.name == wanted) return known.mode;
  }
  node.Misfit("\"off\", \"connectable\", \"discoverable\" or a number");
}

json PrintMode(std::uint32_t mode) {
  for (const ModeName& known : kModes) {
    if (known.mode == mode) return known.name;
  }
  return mode;
}

ServiceRecord ParseRecord(const JsonNode& node) {
  node.NeedObject({"handle", "hex"});
  ServiceRecord record;
  record.handle = static_cast<std::uint32_t>(node.Need("handle").Integer(1, 0xFFFFFFFE));
  const JsonNode hex = node.Need("hex");
  const auto bytes = FromHex(hex.String());
  if (!bytes) hex.Misfit("two hexadecimal digits a byte");
  record.bytes = *bytes;
  return record;
}

json PrintRecord(const ServiceRecord& record) { return {{"handle", record.handle}, {"hex", ToHex(record.bytes)}}; }

}  // namespace

Bluetooth ParseBluetooth(const JsonNode& node) {
  node.NeedObject({"provider", "mode", "takenChannels", "takesNoDelay", "records"});
  Bluetooth bluetooth;
  if (const auto provider = node.Find("provider")) bluetooth.provider = ParseProvider(*provider);
  if (const auto mode = node.Find("mode")) bluetooth.mode = ParseMode(*mode);
  ReadBool(node, "takesNoDelay", bluetooth.takesNoDelay);
  std::set<std::uint32_t> channels;
  if (const auto taken = node.Find("takenChannels")) {
    taken->ForEach([&](const JsonNode& channel) {
      channels.insert(static_cast<std::uint32_t>(channel.Integer(kFirstChannel, kLastChannel)));
    });
  }
  bluetooth.takenChannels.assign(channels.begin(), channels.end());
  std::set<std::uint32_t> handles;
  if (const auto records = node.Find("records")) {
    records->ForEach([&](const JsonNode& record) {
      bluetooth.records.push_back(ParseRecord(record));
      if (!handles.insert(bluetooth.records.back().handle).second) {
        record.Need("handle").Misfit("a handle that is not there already");
      }
    });
  }
  return bluetooth;
}

json PrintBluetooth(const Bluetooth& bluetooth) {
  json out = {{"mode", PrintMode(bluetooth.mode)},
              {"takenChannels", bluetooth.takenChannels},
              {"takesNoDelay", bluetooth.takesNoDelay},
              {"records", PrintList(bluetooth.records, PrintRecord)}};
  for (const ProviderName& known : kProviders) {
    if (known.provider == bluetooth.provider) out["provider"] = known.name;
  }
  return out;
}

}  // namespace handset
