#include "handset/radio/ScriptedRadio.h"

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <fmt/format.h>
#include <sys/file.h>
#include <sys/socket.h>
#include <sys/un.h>

#include "handset/Enter.h"
#include "handset/net/HostSocket.h"
#include "handset/store/RadioRows.h"
#include "platform/Bluetooth.h"

namespace handset {

namespace {

namespace fs = std::filesystem;

[[noreturn]] void Throw(ce::INT code) { throw Failure{static_cast<ce::DWORD>(code)}; }

sockaddr_un NameOf(const fs::path& path) {
  sockaddr_un name{};
  name.sun_family = AF_UNIX;
  if (path.native().size() >= sizeof name.sun_path) Throw(ce::WSAENAMETOOLONG);
  path.native().copy(name.sun_path, sizeof name.sun_path - 1);
  return name;
}

// Holds the channel by a lock, which ends with the process however that ends; the socket's name may be left over.
class ScriptedChannel final : public HeldChannel {
 public:
  ScriptedChannel(std::uint32_t number, fs::path path, UniqueFd lock)
      : HeldChannel(number), m_path(std::move(path)), m_lock(std::move(lock)) {}
  ~ScriptedChannel() override { unlink(m_path.c_str()); }

 private:
  const fs::path m_path;
  const UniqueFd m_lock;
};

fs::path LockOf(const fs::path& channelSocket) { return channelSocket.string() + ".lock"; }

}  // namespace

fs::path ChannelSocket(const fs::path& phoneFolder, std::uint32_t channel) {
  return phoneFolder / "bluetooth" / fmt::format("channel-{}", channel);
}

ScriptedRadio::ScriptedRadio(Phone& phone) : m_store(phone.store), m_folder(phone.filesRoot.parent_path()) {}

std::uint32_t ScriptedRadio::GetMode() { return m_store.Use(SelectBluetooth).mode; }

void ScriptedRadio::SetMode(std::uint32_t mode) {
  m_store.Use([&](SQLite::Database& database) { UpdateRadioMode(database, mode); });
}

UniqueFd ScriptedRadio::MakeSocket() {
  UniqueFd made(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
  if (!made) throw Failure{WinsockCode(errno)};
  return made;
}

std::unique_ptr<HeldChannel> ScriptedRadio::Bind(int socket, std::uint64_t adapter, std::uint32_t channel) {
  if (adapter != 0) Throw(ce::WSAEADDRNOTAVAIL);
  if (channel > kLastChannel) Throw(ce::WSAEADDRNOTAVAIL);
  const std::vector<std::uint32_t> taken = m_store.Use(SelectBluetooth).takenChannels;
  fs::create_directory(ChannelSocket(m_folder, kFirstChannel).parent_path());
  for (std::uint32_t number = channel != 0 ? channel : kFirstChannel; number <= (channel != 0 ? channel : kLastChannel);
       ++number) {
    if (std::ranges::find(taken, number) != taken.end()) continue;
    const fs::path path = ChannelSocket(m_folder, number);
    const sockaddr_un name = NameOf(path);
    UniqueFd lock(open(LockOf(path).c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600));
    if (!lock) throw Failure{WinsockCode(errno)};
    if (flock(lock.Get(), LOCK_EX | LOCK_NB) != 0) continue;
    unlink(path.c_str());
    if (bind(socket, reinterpret_cast<const sockaddr*>(&name), sizeof name) != 0) throw Failure{WinsockCode(errno)};
    return std::make_unique<ScriptedChannel>(number, path, std::move(lock));
  }
  Throw(ce::WSAEADDRINUSE);
}

bool ScriptedRadio::TakesNoDelay() { return m_store.Use(SelectBluetooth).takesNoDelay; }

std::uint32_t ScriptedRadio::Publish(std::span<const std::uint8_t> record) {
  const Bytes bytes(record.begin(), record.end());
  return m_store.Use([&](SQLite::Database& database) { return AddServiceRecord(database, bytes); });
}

void ScriptedRadio::Withdraw(std::uint32_t handle) {
  const bool was = m_store.Use([&](SQLite::Database& database) { return DeleteServiceRecord(database, handle); });
  if (!was) Throw(ce::WSASERVICE_NOT_FOUND);
}

}  // namespace handset
