#include "tests/bluez/MockBluez.h"

#include <algorithm>
#include <fmt/format.h>

namespace test {

namespace {

constexpr const char* kAdapter = "org.bluez.Adapter1";
constexpr const char* kManager = "org.bluez.ProfileManager1";

}  // namespace

MockBluez::MockBluez(std::vector<MockAdapter> adapters, const std::string& error, int refusals)
    : m_connection(sdbus::createSystemBusConnection()), m_registrationError(error), m_refusals(refusals) {
  m_root = sdbus::createObject(*m_connection, "/");
  m_root->addObjectManager();
  ServeManager();
  for (const MockAdapter& adapter : adapters) AddAdapter(adapter);
  m_connection->requestName("org.bluez");
  m_connection->enterEventLoopAsync();
}

MockBluez::~MockBluez() { m_connection->leaveEventLoop(); }

std::vector<MockBluez::Profile> MockBluez::Registrations() const {
  const std::lock_guard lock(m_mutex);
  return m_registrations;
}

std::vector<std::string> MockBluez::Unregistrations() const {
  const std::lock_guard lock(m_mutex);
  return m_unregistrations;
}

std::vector<std::string> MockBluez::TakeSettings() {
  const std::lock_guard lock(m_mutex);
  return std::exchange(m_settings, {});
}

void MockBluez::RefuseRegistrations(const std::string& error, int times) {
  const std::lock_guard lock(m_mutex);
  m_registrationError = error;
  m_refusals = times;
}

void MockBluez::RefuseSetting(const std::string& property, const std::string& error) {
  const std::lock_guard lock(m_mutex);
  m_settingErrors[property] = error;
}

void MockBluez::ServeManager() {
  m_manager = sdbus::createObject(*m_connection, "/org/bluez");
  m_manager->registerMethod("RegisterProfile")
      .onInterface(kManager)
      .implementedAs([this](const sdbus::ObjectPath& path, const std::string& uuid,
                            const std::map<std::string, sdbus::Variant>& options) { Register(path, uuid, options); });
  m_manager->registerMethod("UnregisterProfile")
      .onInterface(kManager)
      .implementedAs([this](const sdbus::ObjectPath& path) {
        const std::lock_guard lock(m_mutex);
        m_unregistrations.push_back(path);
      });
  m_manager->finishRegistration();
}

void MockBluez::Register(const sdbus::ObjectPath& path, const std::string& uuid,
                         const std::map<std::string, sdbus::Variant>& options) {
  const std::lock_guard lock(m_mutex);
  Profile profile{path, uuid, {}, options.size()};
  for (const auto& [name, value] : options) {
    if (value.containsValueOfType<std::string>()) profile.options[name] = value.get<std::string>();
  }
  m_registrations.push_back(std::move(profile));
  if (m_refusals > 0) {
    --m_refusals;
    throw sdbus::Error(m_registrationError, "because the test says so");
  }
}

template <typename Value>
void MockBluez::ServeProperty(ServedAdapter& adapter, const char* name, Value& value) {
  adapter.object->registerProperty(name)
      .onInterface(kAdapter)
      .withGetter([this, &value] {
        const std::lock_guard lock(m_mutex);
        return value;
      })
      .withSetter([this, &adapter, &value, name](const Value& wanted) {
        const std::lock_guard lock(m_mutex);
        const auto error = m_settingErrors.find(name);
        if (error != m_settingErrors.end()) throw sdbus::Error(error->second, "because the test says so");
        m_settings.push_back(
            fmt::format("{} {}={:d}", adapter.state.path.substr(adapter.state.path.rfind('/') + 1), name, wanted));
        value = wanted;
      });
}

void MockBluez::AddAdapter(const MockAdapter& state) {
  ServedAdapter& adapter = m_adapters.emplace_back(ServedAdapter{state, nullptr});
  adapter.object = sdbus::createObject(*m_connection, state.path);
  const auto text = [&](const char* name, const std::string& value) {
    adapter.object->registerProperty(name).onInterface(kAdapter).withGetter([value] { return value; });
  };
  text("Address", state.address);
  text("Alias", state.alias);
  ServeProperty(adapter, "Powered", adapter.state.powered);
  ServeProperty(adapter, "Discoverable", adapter.state.discoverable);
  ServeProperty(adapter, "DiscoverableTimeout", adapter.state.discoverableTimeout);
  if (adapter.state.connectable) ServeProperty(adapter, "Connectable", *adapter.state.connectable);
  adapter.object->finishRegistration();
  adapter.object->emitInterfacesAddedSignal({kAdapter});
}

void MockBluez::RemoveAdapter(const std::string& path) {
  const auto at = std::ranges::find(m_adapters, path, [](const ServedAdapter& each) { return each.state.path; });
  at->object->emitInterfacesRemovedSignal({kAdapter});
  m_adapters.erase(at);
}

}  // namespace test
