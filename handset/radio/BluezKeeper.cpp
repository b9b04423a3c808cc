#include "handset/radio/BluezKeeper.h"

#include <algorithm>
#include <array>
#include <fmt/format.h>
#include <poll.h>
#include <random>
#include <signal.h>
#include <sys/eventfd.h>

namespace handset {

namespace {

using Why = BluezError::Why;

constexpr int kUuidAttempts = 4;
// What a withdrawal fails with when there is nothing left to withdraw.
constexpr std::array kGoneWith = {Why::kGone, Why::kNotRunning, Why::kNoAnswer, Why::kNoBus};

// A random one (version 4): under the UUID of the serial port, BlueZ would take a channel and listen itself.
std::string NewUuid() {
  std::random_device random;
  std::array<std::uint32_t, 4> bits{};
  for (std::uint32_t& word : bits) word = random();
  return fmt::format("{:08x}-{:04x}-4{:03x}-{:04x}-{:04x}{:08x}", bits[0], bits[1] >> 16, bits[1] & 0xFFF,
                     0x8000 | (bits[2] >> 16 & 0x3FFF), bits[2] & 0xFFFF, bits[3]);
}

}  // namespace

BluezKeeper::BluezKeeper(BluezOptions options)
    : m_options(std::move(options)), m_wake(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)), m_retry(m_options.firstRetry) {
  m_bus = NewBus();
  m_adapter = NeedAdapter(m_bus->GetAdapters());  // which also starts a BlueZ that can be started
  m_owner = m_bus->GetOwner();
  // Signals are for the program's own threads.
  sigset_t all;
  sigset_t before;
  sigfillset(&all);
  pthread_sigmask(SIG_SETMASK, &all, &before);
  m_watcher = std::thread([this] { Watch(); });
  pthread_sigmask(SIG_SETMASK, &before, nullptr);
}

BluezKeeper::~BluezKeeper() {
  m_ending = true;
  Wake();
  m_watcher.join();
  for (const auto& [handle, record] : m_records) {
    try {
      Unregister(record);
    } catch (const BluezError&) {
      // The bus withdraws it when the connection closes.
    }
  }
  try {
    if (!m_modes.Empty()) m_modes.Restore(NeedBus());
  } catch (const BluezError& error) {
    Report(fmt::format("the adapter's settings could not be restored: {}", error.what()));
  }
}

void BluezKeeper::Report(const std::string& line) const {
  if (m_options.report) m_options.report(line);
}

BluezAdapter BluezKeeper::GetAdapter() {
  const std::lock_guard lock(m_mutex);
  m_adapter = NeedAdapter(NeedBus().GetAdapters());
  Wake();
  return m_adapter;
}

std::vector<BluetoothAddress> BluezKeeper::GetAddresses() {
  const std::lock_guard lock(m_mutex);
  std::vector<BluetoothAddress> addresses;
  try {
    for (const BluezAdapter& adapter : NeedBus().GetAdapters()) addresses.push_back(adapter.address);
  } catch (const BluezError&) {
    // Channels are looked for among the kernel's sockets all the same.
  }
  Wake();
  return addresses;
}

void BluezKeeper::SetMode(std::uint32_t mode) {
  const std::lock_guard lock(m_mutex);
  const BluezAdapter adapter = NeedAdapter(NeedBus().GetAdapters());
  if (m_modes.WasMode(adapter, mode)) {
    m_mode.reset();
    m_modes.Restore(NeedBus());
  } else {
    m_modes.Apply(NeedBus(), adapter, mode);
    m_mode = mode;
  }
  m_adapter = adapter;
  Wake();
}

std::uint32_t BluezKeeper::Publish(const std::string& recordXml) {
  const std::lock_guard lock(m_mutex);
  const std::uint32_t handle = ++m_lastRecord;
  Record record{fmt::format("/org/brelix/phone/record{}", handle), recordXml, {}};
  Register(record);
  m_records.emplace(handle, std::move(record));
  Wake();
  return handle;
}

bool BluezKeeper::Withdraw(std::uint32_t handle) {
  const std::lock_guard lock(m_mutex);
  const auto taken = m_records.extract(handle);
  if (taken.empty()) return false;
  Unregister(taken.mapped());
  Wake();
  return true;
}

BluezBus& BluezKeeper::NeedBus() {
  if (!m_bus) throw BluezError(Why::kNoBus, "the system bus was lost");
  return *m_bus;
}

std::unique_ptr<BluezBus> BluezKeeper::NewBus() {
  m_adapterNews = true;
  return std::make_unique<BluezBus>([this] {
    m_adapterNews = true;
    if (!m_lookAt) m_lookAt = Clock::now() + m_options.settle;
  });
}

const BluezAdapter& BluezKeeper::NeedAdapter(const std::vector<BluezAdapter>& adapters) {
  if (adapters.empty()) {
    throw BluezError(Why::kGone,
                     "BlueZ knows no Bluetooth adapter: plug one in, or see why there is none with "
                     "\"bluetoothctl list\" and \"rfkill list\"");
  }
  const auto found = std::ranges::find(adapters, m_adapter.address, &BluezAdapter::address);
  return found != adapters.end() ? *found : adapters.front();
}

void BluezKeeper::Register(Record& record) {
  BluezBus& bus = NeedBus();
  for (int attempt = 1;; ++attempt) {
    try {
      bus.RegisterProfile(record.path, NewUuid(), record.xml);
      break;
    } catch (const BluezError& error) {
      if (error.GetWhy() == Why::kThere) break;
      if (error.GetWhy() != Why::kTaken || attempt == kUuidAttempts) throw;
    }
  }
  record.owner = bus.GetOwner();
}

void BluezKeeper::Unregister(const Record& record) {
  // With the BlueZ that published it, or with our connection to the bus, it is gone.
  if (!m_bus || record.owner.empty()) return;
  try {
    if (record.owner == m_bus->GetOwner()) m_bus->UnregisterProfile(record.path);
  } catch (const BluezError& error) {
    if (std::ranges::find(kGoneWith, error.GetWhy()) == kGoneWith.end()) throw;
  }
}

// A call may have read signals that came in meanwhile: the watching thread is to handle them.
void BluezKeeper::Wake() { eventfd_write(m_wake.Get(), 1); }

void BluezKeeper::Watch() {
  while (!m_ending) {
    try {
      WaitForNews();
      const std::lock_guard lock(m_mutex);
      if (m_bus) m_bus->Process();
      if (m_lookAt && *m_lookAt <= Clock::now()) Look();
    } catch (const BluezError& error) {
      Failed(error);
    }
  }
}

void BluezKeeper::WaitForNews() {
  std::array<pollfd, 2> waited = {{{m_wake.Get(), POLLIN, 0}, {-1, 0, 0}}};
  std::optional<std::chrono::milliseconds> limit;
  {
    const std::lock_guard lock(m_mutex);
    if (m_bus) {
      const BluezBus::Wait wait = m_bus->GetWait();
      waited[1] = {wait.descriptor, wait.events, 0};
      limit = wait.timeout;
    }
    if (m_lookAt) {
      const auto left = std::chrono::ceil<std::chrono::milliseconds>(*m_lookAt - Clock::now());
      limit = std::min(std::max(left, std::chrono::milliseconds(0)), limit.value_or(left));
    }
  }
  poll(waited.data(), waited.size(), limit ? static_cast<int>(limit->count()) : -1);
  eventfd_t ignored = 0;
  eventfd_read(m_wake.Get(), &ignored);
}

// Sees what there is now, tells what changed, and mends what can be mended.
void BluezKeeper::Look() {
  m_lookAt.reset();
  if (!m_bus) m_bus = NewBus();
  const std::string owner = m_bus->GetOwner();
  if (owner.empty() && !m_owner.empty()) {
    Report("BlueZ stopped: no desktop finds this phone until it runs again; start it: systemctl start bluetooth");
  }
  m_owner = owner;
  if (!m_owner.empty()) {
    LookAtAdapters();
    LookAtRecords();
  }
  m_retry = m_options.firstRetry;
  m_lastFailure.clear();
}

void BluezKeeper::LookAtAdapters() {
  const std::vector<BluezAdapter> adapters = m_bus->GetAdapters();
  if (adapters.empty()) {
    if (!m_adapterGone) Report(fmt::format("the adapter {} is gone: plug it or another one in", m_adapter.ToText()));
    m_adapterGone = true;
    return;
  }
  const BluezAdapter& adapter = NeedAdapter(adapters);
  if (m_adapterGone || adapter.address != m_adapter.address) {
    Report(fmt::format("the phone's adapter is {} now", adapter.ToText()));
  }
  m_adapter = adapter;
  m_adapterGone = false;
  if (m_adapterNews && m_mode) m_modes.Apply(*m_bus, adapter, *m_mode);
  m_adapterNews = false;
}

void BluezKeeper::LookAtRecords() {
  bool any = false;
  for (auto& [handle, record] : m_records) {
    if (record.owner == m_owner) continue;
    Register(record);
    any = true;
  }
  if (any) Report("BlueZ was restarted: the service is published again");
}

void BluezKeeper::Failed(const BluezError& error) {
  const std::lock_guard lock(m_mutex);
  if (error.GetWhy() == Why::kNoBus) {
    m_bus.reset();
    m_owner.clear();
    // Another bus may give the same names to others.
    for (auto& [handle, record] : m_records) record.owner.clear();
  }
  // A bus that is lost is so in more than one way.
  const std::string failure = m_bus ? error.what() : "no bus";
  // And a BlueZ that ends leaves a question open: that it stopped is seen at the next look.
  const bool mayHaveStopped = error.GetWhy() == Why::kNoAnswer && m_retry == m_options.firstRetry;
  if (m_lastFailure != failure && !mayHaveStopped) Report(fmt::format("{}; it is tried again", error.what()));
  if (!mayHaveStopped) m_lastFailure = failure;
  m_lookAt = Clock::now() + m_retry;
  m_retry = std::min(2 * m_retry, m_options.longestRetry);
}

}  // namespace handset
