#include "handset/radio/BluezBus.h"

#include <array>
#include <fmt/format.h>
#include <map>
#include <sdbus-c++/sdbus-c++.h>
#include <string_view>

namespace handset {

namespace {

using Why = BluezError::Why;
using Properties = std::map<std::string, sdbus::Variant>;
using Objects = std::map<sdbus::ObjectPath, std::map<std::string, Properties>>;

constexpr const char* kBluez = "org.bluez";
constexpr const char* kAdapterInterface = "org.bluez.Adapter1";
constexpr const char* kManagerPath = "/org/bluez";
constexpr const char* kManagerInterface = "org.bluez.ProfileManager1";
constexpr const char* kBus = "org.freedesktop.DBus";
// BlueZ answers at once, but for switching an adapter on.
constexpr std::chrono::seconds kLongestCall{10};

struct ErrorName {
  std::string_view prefix;
  Why why;
};
constexpr std::array kErrorNames = std::to_array<ErrorName>({
    {"org.freedesktop.DBus.Error.ServiceUnknown", Why::kNotRunning},
    {"org.freedesktop.DBus.Error.NameHasNoOwner", Why::kNotRunning},
    {"org.freedesktop.DBus.Error.Spawn.", Why::kNotRunning},
    {"org.freedesktop.systemd1.", Why::kNotRunning},
    {"org.freedesktop.DBus.Error.NoReply", Why::kNoAnswer},
    {"org.freedesktop.DBus.Error.Timeout", Why::kNoAnswer},
    {"System.Error.ETIMEDOUT", Why::kNoAnswer},
    {"org.freedesktop.DBus.Error.AccessDenied", Why::kRefused},
    {"org.freedesktop.DBus.Error.AuthFailed", Why::kRefused},
    {"org.freedesktop.DBus.Error.InteractiveAuthorizationRequired", Why::kRefused},
    {"org.freedesktop.DBus.Error.Disconnected", Why::kNoBus},
    {"System.Error.ENOTCONN", Why::kNoBus},
    {"System.Error.ECONNRESET", Why::kNoBus},
    {"System.Error.EPIPE", Why::kNoBus},
    {"org.bluez.Error.NotPermitted", Why::kTaken},
    {"org.bluez.Error.AlreadyExists", Why::kThere},
    {"org.bluez.Error.DoesNotExist", Why::kGone},
    {"org.freedesktop.DBus.Error.UnknownObject", Why::kGone},
    {"org.freedesktop.DBus.Error.UnknownMethod", Why::kGone},
    {"org.freedesktop.DBus.Error.UnknownInterface", Why::kGone},
});

Why WhyOf(const std::string& name) {
  for (const ErrorName& row : kErrorNames) {
    if (name.starts_with(row.prefix)) return row.why;
  }
  return Why::kFailed;
}

std::string SaidBy(const sdbus::Error& error) {
  return error.getMessage().empty() ? error.getName() : error.getMessage();
}

[[noreturn]] void ThrowNoBus(const sdbus::Error& error) {
  throw BluezError(Why::kNoBus, fmt::format("the system bus cannot be reached ({}); start D-Bus: systemctl start dbus",
                                            SaidBy(error)));
}

// what: "publishing the service", as the subject of a sentence.
[[noreturn]] void Throw(const sdbus::Error& error, const std::string& what) {
  const Why why = WhyOf(error.getName());
  const std::string said = SaidBy(error);
  switch (why) {
    case Why::kNoBus:
      ThrowNoBus(error);
    case Why::kNotRunning:
      throw BluezError(
          why,
          "BlueZ is not running: nobody answers for org.bluez on the system bus; install the package bluez "
          "and start it: systemctl start bluetooth");
    case Why::kNoAnswer:
      throw BluezError(why,
                       fmt::format("BlueZ does not answer ({}); see what \"systemctl status bluetooth\" says", said));
    case Why::kRefused:
      throw BluezError(why, fmt::format("D-Bus refuses {} ({}); let this user talk to org.bluez in the system bus's "
                                        "policy, on many systems by adding the user to the group bluetooth",
                                        what, said));
    case Why::kTaken:
      throw BluezError(why, fmt::format("BlueZ refuses {}: another program holds the profile's UUID ({})", what, said));
    case Why::kThere:
    case Why::kGone:
    case Why::kFailed:
      break;
  }
  throw BluezError(why, fmt::format("BlueZ refuses {}: {}", what, said));
}

template <typename Call>
auto Ask(const std::string& what, Call call) {
  try {
    return call();
  } catch (const sdbus::Error& error) {
    Throw(error, what);
  }
}

// What the connection itself is asked fails when it is broken.
template <typename Call>
auto AskBus(Call call) {
  try {
    return call();
  } catch (const sdbus::Error& error) {
    ThrowNoBus(error);
  }
}

std::unique_ptr<sdbus::IConnection> Connect() {
  try {
    return sdbus::createSystemBusConnection();
  } catch (const sdbus::Error& error) {
    if (WhyOf(error.getName()) == Why::kRefused) Throw(error, "a connection to the system bus");
    ThrowNoBus(error);
  }
}

template <typename Value>
std::optional<Value> Find(const Properties& properties, const char* name) {
  const auto at = properties.find(name);
  if (at == properties.end() || !at->second.containsValueOfType<Value>()) return std::nullopt;
  return at->second.get<Value>();
}

// Remotes are below their adapter.
bool IsAdapter(const std::string& path) {
  constexpr std::string_view kBefore = "/org/bluez/";
  return path.starts_with(kBefore) && path.find('/', kBefore.size()) == std::string::npos;
}

// One without an address is not there yet, or no more.
void AddAdapter(const std::string& path, const Properties& properties, std::vector<BluezAdapter>& adapters) {
  const auto address = FindBluetoothAddress(Find<std::string>(properties, "Address").value_or(""));
  if (!address) return;
  adapters.push_back({.path = path,
                      .address = *address,
                      .name = Find<std::string>(properties, "Alias").value_or(""),
                      .powered = Find<bool>(properties, "Powered").value_or(false),
                      .discoverable = Find<bool>(properties, "Discoverable").value_or(false),
                      .discoverableTimeout = Find<std::uint32_t>(properties, "DiscoverableTimeout").value_or(0),
                      .connectable = Find<bool>(properties, "Connectable")});
}

}  // namespace

std::string BluezAdapter::ToText() const {
  return fmt::format("{} ({})", path.substr(path.rfind('/') + 1), handset::ToText(address));
}

BluezBus::BluezBus(std::function<void()> changed) : m_connection(Connect()) {
  Ask("listening for changes", [&] {
    // Without the sender: whoever sends such a signal makes us look again, and no more.
    m_connection->addMatch(
        "type='signal',interface='org.freedesktop.DBus',member='NameOwnerChanged',arg0='org.bluez'",
        [changed](sdbus::Message&) { changed(); }, sdbus::floating_slot);
    m_connection->addMatch(
        "type='signal',interface='org.freedesktop.DBus.ObjectManager',path='/'",
        [changed](sdbus::Message& message) {
          sdbus::ObjectPath path;
          message >> path;
          if (IsAdapter(path)) changed();
        },
        sdbus::floating_slot);
  });
}

BluezBus::~BluezBus() = default;

std::string BluezBus::GetOwner() {
  return Ask("a question", [&] {
    const auto bus = sdbus::createProxy(*m_connection, kBus, "/org/freedesktop/DBus");
    std::string owner;
    try {
      bus->callMethod("GetNameOwner")
          .onInterface(kBus)
          .withTimeout(kLongestCall)
          .withArguments(kBluez)
          .storeResultsTo(owner);
    } catch (const sdbus::Error& error) {
      if (WhyOf(error.getName()) != Why::kNotRunning) throw;
    }
    return owner;
  });
}

std::vector<BluezAdapter> BluezBus::GetAdapters() {
  return Ask("telling its adapters", [&] {
    const auto manager = sdbus::createProxy(*m_connection, kBluez, "/");
    Objects objects;
    manager->callMethod("GetManagedObjects")
        .onInterface("org.freedesktop.DBus.ObjectManager")
        .withTimeout(kLongestCall)
        .storeResultsTo(objects);
    std::vector<BluezAdapter> adapters;
    for (const auto& [path, interfaces] : objects) {
      const auto adapter = interfaces.find(kAdapterInterface);
      if (adapter != interfaces.end()) AddAdapter(path, adapter->second, adapters);
    }
    return adapters;
  });
}

template <typename Value>
void BluezBus::Set(const BluezAdapter& adapter, const char* property, Value value) {
  Ask(fmt::format("setting {} of {}", property, adapter.ToText()), [&] {
    sdbus::createProxy(*m_connection, kBluez, adapter.path)
        ->callMethod("Set")
        .onInterface("org.freedesktop.DBus.Properties")
        .withTimeout(kLongestCall)
        .withArguments(kAdapterInterface, property, sdbus::Variant(value));
  });
}

void BluezBus::SetAdapter(const BluezAdapter& adapter, const char* property, bool value) {
  Set(adapter, property, value);
}

void BluezBus::SetAdapter(const BluezAdapter& adapter, const char* property, std::uint32_t value) {
  Set(adapter, property, value);
}

void BluezBus::RegisterProfile(const std::string& path, const std::string& uuid, const std::string& recordXml) {
  Ask("publishing the service", [&] {
    const Properties options = {{"ServiceRecord", sdbus::Variant(recordXml)},
                                {"Role", sdbus::Variant(std::string("server"))}};
    sdbus::createProxy(*m_connection, kBluez, kManagerPath)
        ->callMethod("RegisterProfile")
        .onInterface(kManagerInterface)
        .withTimeout(kLongestCall)
        .withArguments(sdbus::ObjectPath(path), uuid, options);
  });
}

void BluezBus::UnregisterProfile(const std::string& path) {
  Ask("withdrawing the service", [&] {
    sdbus::createProxy(*m_connection, kBluez, kManagerPath)
        ->callMethod("UnregisterProfile")
        .onInterface(kManagerInterface)
        .withTimeout(kLongestCall)
        .withArguments(sdbus::ObjectPath(path));
  });
}

BluezBus::Wait BluezBus::GetWait() const {
  return AskBus([&] {
    const sdbus::IConnection::PollData data = m_connection->getEventLoopPollData();
    const int milliseconds = data.getPollTimeout();
    Wait wait{data.fd, data.events, std::nullopt};
    if (milliseconds >= 0) wait.timeout = std::chrono::milliseconds(milliseconds);
    return wait;
  });
}

void BluezBus::Process() {
  AskBus([&] {
    while (m_connection->processPendingRequest()) {
    }
  });
}

}  // namespace handset
