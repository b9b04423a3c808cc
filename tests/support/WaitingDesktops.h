// A listening socket of a phone on which desktops wait to be accepted. They say nothing themselves.
#pragma once

#include <unistd.h>
#include <vector>

#include "handset/Handset.h"
#include "tests/support/LocalListener.h"

namespace test {

class WaitingDesktops {
 public:
  WaitingDesktops(handset::Handset& phone, int count) {
    const LocalListener listener(count);
    for (int i = 0; i < count; ++i) m_desktops.push_back(listener.Connect());
    m_listening = phone.AdoptSocket(listener.Descriptor());
  }
  ~WaitingDesktops() {
    for (const int desktop : m_desktops) close(desktop);
  }
  WaitingDesktops(const WaitingDesktops&) = delete;
  WaitingDesktops& operator=(const WaitingDesktops&) = delete;
  ce::SOCKET Listening() const { return m_listening; }

 private:
  std::vector<int> m_desktops;
  ce::SOCKET m_listening;
};

}  // namespace test
