// SIGINT and SIGTERM, and a terminal that goes away, as an orderly end of a program that serves.
#pragma once

#include <pthread.h>
#include <signal.h>

namespace brelix_phone {

// From here on they wait for WaitForOne, in this thread and those that it starts.
class EndSignals {
 public:
  EndSignals() {
    sigemptyset(&m_set);
    sigaddset(&m_set, SIGINT);
    sigaddset(&m_set, SIGTERM);
    // Who starts a program so that it outlives its terminal has it ignore this one.
    struct sigaction hangUp {};
    if (sigaction(SIGHUP, nullptr, &hangUp) == 0 && hangUp.sa_handler != SIG_IGN) sigaddset(&m_set, SIGHUP);
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
