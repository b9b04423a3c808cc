// The threads of one phone.
#pragma once

#include <condition_variable>
#include <memory>
#include <mutex>
#include <optional>
#include <thread>
#include <vector>

#include "handset/HandleTable.h"
#include "handset/Handset.h"
#include "platform/Kernel.h"

namespace handset {

class PhoneThread : public HandleObject {
 public:
  PhoneThread(Handset& phone, Threads mode, ce::THREAD_START start, void* parameter);

  // The suspend count before the call. The body starts when the count gets to 0.
  ce::DWORD Resume();
  // True when the body has ended, false after the given time; no time waits for ever.
  bool Wait(std::optional<std::chrono::milliseconds> time);

 private:
  friend class PhoneThreads;
  enum class Stage { kSuspended, kReady, kRunning, kEnded };

  void Run();
  bool HasEnded();
  void Join();

  Handset& m_phone;
  const Threads m_mode;
  const ce::THREAD_START m_start;
  void* const m_parameter;
  std::mutex m_mutex;
  std::condition_variable m_ended;
  Stage m_stage = Stage::kSuspended;
  std::thread m_thread;
};

class PhoneThreads {
 public:
  // Waits for every body that runs; one that never started never runs.
  ~PhoneThreads();

  void SetMode(Threads mode);
  // Suspended.
  std::shared_ptr<PhoneThread> Create(Handset& phone, ce::THREAD_START start, void* parameter);

 private:
  std::mutex m_mutex;
  Threads m_mode = Threads::kReal;
  std::vector<std::shared_ptr<PhoneThread>> m_threads;
};

}  // namespace handset
