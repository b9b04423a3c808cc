// SIGINT and SIGTERM as an orderly end of a program that serves.
#pragma once

#include <pthread.h>
#include <signal.h>

namespace brelix_phone {

// From here on both wait for WaitForOne, in this thread and those that it starts.
class EndSignals {
 public:
  EndSignals() {
    sigemptyset(&m_set);
    sigaddset(&m_set, SIGINT);
    sigaddset(&m_set, SIGTERM);
    pthread_sigmask(SIG_BLOCK, &m_set, nullptr);
  }

  void WaitForOne() const {
    int received = 0;
    sigwait(&m_set, &received);
    // A second one ends the process at once, should the phone not stop.
    pthread_sigmask(SIG_UNBLOCK, &m_set, nullptr);
  }

 private:
  sigset_t m_set{};
};

}  // namespace brelix_phone
