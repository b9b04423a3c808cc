// Keeps at BlueZ what the phone's radio wants to be: its service records published and its adapter in the mode that was
// set, also after BlueZ was restarted, the adapter was plugged in again, or the bus was lost. What changes is told in
// one line each.
#pragma once

#include <atomic>
#include <functional>
#include <map>
#include <mutex>
#include <thread>

#include "handset/radio/AdapterModes.h"
#include "handset/radio/BluezBus.h"

namespace handset {

struct BluezOptions {
  // Lets remotes connect that are not paired.
  bool insecure = false;
  // What a person should know, one line each, without an end of line; called on any thread.
  std::function<void(const std::string&)> report;
  // After BlueZ or an adapter came or went, so long is waited for more of it before anything is done. What then fails
  // is tried again: after the first time, then after twice as long each, up to the longest.
  std::chrono::milliseconds settle{300};
  std::chrono::milliseconds firstRetry{1000};
  std::chrono::milliseconds longestRetry{60000};
};

// May be used from any thread. All but Report and GetAddresses throw BluezError.
class BluezKeeper {
 public:
  explicit BluezKeeper(BluezOptions options);
  // Withdraws what is published and restores what was changed, as far as that can be done.
  ~BluezKeeper();

  void Report(const std::string& line) const;

  // The phone's adapter: the first one, until it is removed.
  BluezAdapter GetAdapter();
  // Of all adapters; empty when BlueZ does not tell.
  std::vector<BluetoothAddress> GetAddresses();
  void SetMode(std::uint32_t mode);

  // Returns a handle, never 0.
  std::uint32_t Publish(const std::string& recordXml);
  // False when there is no such record. The record counts as withdrawn also when this throws.
  bool Withdraw(std::uint32_t handle);

 private:
  using Clock = std::chrono::steady_clock;
  struct Record {
    std::string path;
    std::string xml;
    std::string owner;  // who was BlueZ when it was published
  };

  BluezBus& NeedBus();
  std::unique_ptr<BluezBus> NewBus();
  const BluezAdapter& NeedAdapter(const std::vector<BluezAdapter>& adapters);
  void Register(Record& record);
  void Unregister(const Record& record);
  void Wake();

  // The watching thread.
  void Watch();
  void WaitForNews();
  void Look();
  void LookAtAdapters();
  void LookAtRecords();
  void Failed(const BluezError& error);

  const BluezOptions m_options;
  const UniqueFd m_wake;
  std::atomic<bool> m_ending{false};

  // Everything below, but for m_watcher. Only the watching thread replaces the bus.
  std::mutex m_mutex;
  std::unique_ptr<BluezBus> m_bus;  // null: lost
  std::string m_owner;              // who is BlueZ; empty: nobody
  BluezAdapter m_adapter;           // the phone's, as it was last seen
  bool m_adapterGone = false;       // and it was told
  bool m_adapterNews = false;       // one came or went: the mode is to be set again
  std::uint32_t m_lastRecord = 0;
  std::map<std::uint32_t, Record> m_records;
  AdapterModes m_modes;
  std::optional<std::uint32_t> m_mode;        // that was set
  std::optional<Clock::time_point> m_lookAt;  // when to see what changed, or to try again
  std::chrono::milliseconds m_retry;
  std::string m_lastFailure;

  std::thread m_watcher;
};

}  // namespace handset
