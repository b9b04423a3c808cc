#include "tests/campaigns/CutPhone.h"

#include <chrono>
#include <stdexcept>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include "agent/host/RapiEntry.h"
#include "handset/Faults.h"
#include "handset/Handset.h"
#include "handset/net/RapiStream.h"

namespace campaign {

CutPhone::CutPhone(const std::filesystem::path& folder) : m_folder(folder), m_socket(folder.string() + ".socket") {
  sockaddr_un name{};
  name.sun_family = AF_UNIX;
  m_socket.copy(name.sun_path, sizeof name.sun_path - 1);
  m_listener = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
  if (bind(m_listener, reinterpret_cast<const sockaddr*>(&name), sizeof name) != 0 || listen(m_listener, 1) != 0)
    throw std::runtime_error(m_socket + ": cannot be listened on");
  m_thread = std::thread([this] { Serve(); });
}

CutPhone::~CutPhone() {
  shutdown(m_listener, SHUT_RDWR);
  m_thread.join();
  close(m_listener);
}

std::uint64_t CutPhone::Arrived() const {
  while (m_busy) std::this_thread::sleep_for(std::chrono::milliseconds(1));
  return m_arrived;
}

void CutPhone::Serve() {
  for (int desktop = accept(m_listener, nullptr, nullptr); desktop >= 0; desktop = accept(m_listener, nullptr, nullptr))
    ServeOne(desktop);
}

void CutPhone::ServeOne(int desktop) {
  int ends[2];
  if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends) != 0) throw std::runtime_error("no socketpair");
  m_busy = true;
  std::thread agent([this, end = ends[1]] {
    // Opened anew for each, as brelix-phone does: what a cut session left open ends with it.
    const auto phone = handset::Handset::Open(m_folder);
    const handset::CurrentPhone current(*phone);
    // The agent's line in \brelrapi.txt would make each backup another one.
    phone->GetFaults().Add(handset::Call::fopen, {}, 0, handset::FaultRule::kAlways);
    ce::CoInitializeEx(nullptr, ce::COINIT_MULTITHREADED);
    ce::DWORD size = 0;
    ce::BYTE* output = nullptr;
    BrelXferRAPI(0, nullptr, &size, &output, handset::NewDescriptorStream(end, end));
    ce::CoUninitialize();
  });
  test::LinkSettings settings;
  settings.cut_down = m_cut;
  m_arrived = test::Carry({desktop, desktop}, {ends[0], ends[0]}, settings).down;
  agent.join();
  m_busy = false;
}

}  // namespace campaign
