// Somebody who answers for org.bluez on the system bus, with as much of BlueZ as a phone's radio uses. It writes down
// what it is asked, and refuses what it is told to refuse.
#pragma once

#include <functional>
#include <list>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <sdbus-c++/sdbus-c++.h>
#include <string>
#include <vector>

namespace test {

struct MockAdapter {
  std::string path = "/org/bluez/hci0";
  std::string address = "00:AA:01:00:00:42";
  std::string alias = "workshop";
  bool powered = true;
  bool discoverable = false;
  std::uint32_t discoverableTimeout = 180;
  std::optional<bool> connectable = std::nullopt;
};

class MockBluez {
 public:
  struct Profile {
    std::string path;
    std::string uuid;
    std::map<std::string, std::string> options;  // those that are texts
    std::size_t optionCount = 0;
  };

  // The first `refusals` requests to publish are answered with this D-Bus error.
  explicit MockBluez(std::vector<MockAdapter> adapters = {MockAdapter{}}, const std::string& error = "",
                     int refusals = 0);
  // Its name, adapters and profiles are gone from the bus.
  ~MockBluez();

  // Asked for until now, also those that were refused.
  std::vector<Profile> Registrations() const;
  std::vector<std::string> Unregistrations() const;
  // "hci0 Discoverable=1", in their order; cleared by asking.
  std::vector<std::string> TakeSettings();

  // The next `times` requests to publish, or to set the property, are answered with this D-Bus error.
  void RefuseRegistrations(const std::string& error, int times);
  void RefuseSetting(const std::string& property, const std::string& error);

  void AddAdapter(const MockAdapter& adapter);
  void RemoveAdapter(const std::string& path);

 private:
  struct ServedAdapter {
    MockAdapter state;
    std::unique_ptr<sdbus::IObject> object;
  };

  void ServeManager();
  void Register(const sdbus::ObjectPath& path, const std::string& uuid,
                const std::map<std::string, sdbus::Variant>& options);
  template <typename Value>
  void ServeProperty(ServedAdapter& adapter, const char* name, Value& value);

  std::unique_ptr<sdbus::IConnection> m_connection;
  std::unique_ptr<sdbus::IObject> m_root;
  std::unique_ptr<sdbus::IObject> m_manager;

  mutable std::mutex m_mutex;
  std::list<ServedAdapter> m_adapters;
  std::vector<Profile> m_registrations;
  std::vector<std::string> m_unregistrations;
  std::vector<std::string> m_settings;
  std::string m_registrationError;
  int m_refusals = 0;
  std::map<std::string, std::string> m_settingErrors;
};

}  // namespace test
