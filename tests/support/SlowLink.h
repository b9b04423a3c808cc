// A link with a delay, a limited rate and an end that comes when the test wants it, between a desktop and a phone.
//
// What a direction is given leaves it at the rate, and arrives the delay later. A direction that is behind takes no
// more than a few packets in, so that whoever writes faster than the link carries is made to wait, as on a radio link.
#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <string>
#include <thread>

namespace test {

struct LinkSettings {
  std::chrono::microseconds delay{0};   // each way
  std::uint64_t bytes_per_second = 0;   // each way; 0 for as fast as it goes
  std::uint64_t cut_up = UINT64_MAX;    // the link is lost when so many bytes of the desktop have arrived
  std::uint64_t cut_down = UINT64_MAX;  // or so many of the phone
};

struct LinkCounts {
  std::uint64_t up = 0, down = 0;  // bytes that arrived: at the phone, at the desktop
};

// Descriptors of one end, closed by Carry. They may be the same.
struct LinkEnd {
  int in, out;
};

// Carries bytes until both ends have ended or the link is cut, or a byte can be read from `stop`.
LinkCounts Carry(LinkEnd desktop, LinkEnd phone, const LinkSettings& settings, int stop = -1);

// Connects to tcp:127.0.0.1:PORT or unix:PATH. Throws std::runtime_error.
LinkEnd ConnectTo(const std::string& address);
// A socket that listens on loopback; the address is tcp:127.0.0.1:PORT, or PORT 0 for one that the system picks.
// Afterwards the address tells the port.
int ListenOn(std::string& address);

// Serves one desktop after another in a thread of its own.
class SlowLink {
 public:
  SlowLink(std::string phone, LinkSettings settings);
  ~SlowLink();
  SlowLink(const SlowLink&) = delete;
  SlowLink& operator=(const SlowLink&) = delete;

  const std::string& Address() const { return m_address; }
  // Of the desktops that have gone, all together. Waits for the one that is there.
  LinkCounts Finish();

 private:
  void Serve();

  const std::string m_phone;
  const LinkSettings m_settings;
  std::string m_address = "tcp:127.0.0.1:0";
  int m_listener;
  int m_stop[2];
  std::atomic<bool> m_ending{false};
  LinkCounts m_counts;
  std::thread m_thread;
};

}  // namespace test
