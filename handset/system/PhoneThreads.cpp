#include "handset/system/PhoneThreads.h"

#include "handset/Enter.h"

namespace handset {

PhoneThread::PhoneThread(Handset& phone, Threads mode, ce::THREAD_START start, void* parameter)
    : HandleObject(Held::kThread), m_phone(phone), m_mode(mode), m_start(start), m_parameter(parameter) {}

ce::DWORD PhoneThread::Resume() {
  const std::lock_guard lock(m_mutex);
  if (m_stage != Stage::kSuspended) return 0;
  if (m_mode == Threads::kReal) m_thread = std::thread([this] { Run(); });
  m_stage = Stage::kReady;
  return 1;
}

bool PhoneThread::Wait(std::optional<std::chrono::milliseconds> time) {
  std::unique_lock lock(m_mutex);
  if (m_mode == Threads::kInline && m_stage == Stage::kReady) {
    lock.unlock();
    Run();
    return true;
  }
  // Inline, a body that is suspended or stands further up on this very stack never ends by waiting.
  if (m_mode == Threads::kInline && m_stage != Stage::kEnded && !time) throw Failure{ce::ERROR_INVALID_PARAMETER};
  const auto ended = [this] { return m_stage == Stage::kEnded; };
  if (time) return m_ended.wait_for(lock, *time, ended);
  m_ended.wait(lock, ended);
  return true;
}

void PhoneThread::Run() {
  {
    const std::lock_guard lock(m_mutex);
    m_stage = Stage::kRunning;
  }
  {
    const CurrentPhone current(m_phone);
    m_start(m_parameter);
  }
  const std::lock_guard lock(m_mutex);
  m_stage = Stage::kEnded;
  m_ended.notify_all();
}

bool PhoneThread::HasEnded() {
  const std::lock_guard lock(m_mutex);
  return m_stage == Stage::kEnded;
}

void PhoneThread::Join() {
  if (m_thread.joinable()) m_thread.join();
}

PhoneThreads::~PhoneThreads() {
  for (const auto& thread : m_threads) thread->Join();
}

void PhoneThreads::SetMode(Threads mode) {
  const std::lock_guard lock(m_mutex);
  m_mode = mode;
}

std::shared_ptr<PhoneThread> PhoneThreads::Create(Handset& phone, ce::THREAD_START start, void* parameter) {
  const std::lock_guard lock(m_mutex);
  std::erase_if(m_threads, [](const auto& thread) {
    if (!thread->HasEnded()) return false;
    thread->Join();
    return true;
  });
  return m_threads.emplace_back(std::make_shared<PhoneThread>(phone, m_mode, start, parameter));
}

}  // namespace handset
