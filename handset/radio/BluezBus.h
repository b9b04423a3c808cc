// What the radio asks of BlueZ over the system bus. One connection: what was registered over it is gone with it.
//
// No thread of its own, and not for two threads at once. Every call throws BluezError.
#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "handset/radio/Rfcomm.h"

namespace sdbus {
class IConnection;
}

namespace handset {

class BluezError : public std::runtime_error {
 public:
  enum class Why {
    kNoBus,       // the system bus cannot be reached, or was lost
    kNotRunning,  // nobody is BlueZ
    kNoAnswer,    // it did not answer, or ended meanwhile
    kRefused,     // the bus's policy does not let us
    kTaken,       // somebody has that profile UUID
    kThere,       // we have registered that path
    kGone,        // no such object: an adapter that was removed, a registration that is no more
    kFailed,      // anything else, as BlueZ says it
  };
  BluezError(Why why, const std::string& text) : std::runtime_error(text), m_why(why) {}
  Why GetWhy() const { return m_why; }

 private:
  Why m_why;
};

struct BluezAdapter {
  std::string path;  // "/org/bluez/hci0"
  BluetoothAddress address{};
  std::string name;  // as remotes see it
  bool powered = false;
  bool discoverable = false;
  std::uint32_t discoverableTimeout = 0;  // seconds; 0: until it is switched off
  std::optional<bool> connectable;        // absent: a BlueZ that has no such property

  // "hci0 (AA:BB:CC:DD:EE:FF)"
  std::string ToText() const;
};

class BluezBus {
 public:
  // changed: BlueZ came or went, or an adapter did; called by Process.
  explicit BluezBus(std::function<void()> changed);
  ~BluezBus();

  // The unique name of the process that is BlueZ now, empty when there is none. Starts nothing.
  std::string GetOwner();
  // By path. Starts BlueZ where the bus knows how to.
  std::vector<BluezAdapter> GetAdapters();
  void SetAdapter(const BluezAdapter& adapter, const char* property, bool value);
  void SetAdapter(const BluezAdapter& adapter, const char* property, std::uint32_t value);

  // Publishes a record; no channel is given, so BlueZ does not listen itself. BlueZ answers success to a record that it
  // cannot read.
  void RegisterProfile(const std::string& path, const std::string& uuid, const std::string& recordXml);
  void UnregisterProfile(const std::string& path);

  // What to poll for before Process.
  struct Wait {
    int descriptor;
    short events;
    std::optional<std::chrono::milliseconds> timeout;
  };
  Wait GetWait() const;
  // Handles what has come in.
  void Process();

 private:
  template <typename Value>
  void Set(const BluezAdapter& adapter, const char* property, Value value);

  std::unique_ptr<sdbus::IConnection> m_connection;
};

}  // namespace handset
