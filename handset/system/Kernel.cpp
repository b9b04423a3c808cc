#include "platform/Kernel.h"

#include <chrono>
#include <cstring>

#include "handset/Enter.h"
#include "handset/system/FileHandle.h"
#include "handset/system/Heap.h"
#include "handset/system/SystemTime.h"

using handset::Call;
using handset::Enter;
using handset::Failure;
using handset::FileHandle;
using handset::Handset;
using handset::Held;
using handset::Phone;
using handset::PhoneThread;
using handset::ThisPhone;

namespace {

std::shared_ptr<PhoneThread> FindThread(const Phone& phone, ce::HANDLE handle) {
  auto thread = phone.handles.Find<PhoneThread>(static_cast<std::uintptr_t>(handle));
  if (!thread) throw Failure{ce::ERROR_INVALID_HANDLE};
  return thread;
}

constexpr ce::DWORD LMEM_ZEROINIT = 0x40;

// What GetSystemPowerStatusEx2 and GlobalMemoryStatus say of things this phone has none of.
constexpr ce::DWORD kUnknownTime = 0xFFFFFFFF;
constexpr ce::DWORD kVirtualBytes = 32U << 20;

}  // namespace

namespace ce {

HANDLE CreateThread(SECURITY_ATTRIBUTES*, DWORD, THREAD_START start, void* parameter, DWORD flags, DWORD* threadId) {
  Phone& phone = ThisPhone();
  return Enter<Call::CreateThread>(phone, [&] {
    if (start == nullptr) throw Failure{ERROR_INVALID_PARAMETER};
    const auto thread = phone.threads.Create(Handset::Current(), start, parameter);
    const std::uint32_t id = phone.handles.Add(thread, {});
    if ((flags & CREATE_SUSPENDED) == 0) thread->Resume();
    if (threadId != nullptr) *threadId = id;
    return HANDLE{id};
  });
}

DWORD ResumeThread(HANDLE thread) {
  Phone& phone = ThisPhone();
  return Enter<Call::ResumeThread>(phone, [&] { return FindThread(phone, thread)->Resume(); });
}

DWORD WaitForSingleObject(HANDLE object, DWORD milliseconds) {
  Phone& phone = ThisPhone();
  return Enter<Call::WaitForSingleObject>(phone, [&] {
    std::optional<std::chrono::milliseconds> time;
    if (milliseconds != INFINITE) time.emplace(milliseconds);
    return FindThread(phone, object)->Wait(time) ? WAIT_OBJECT_0 : WAIT_TIMEOUT;
  });
}

BOOL CloseHandle(HANDLE object) {
  Phone& phone = ThisPhone();
  const auto id = static_cast<std::uintptr_t>(object);
  const auto close = [&]() -> BOOL {
    if (!phone.handles.Take<PhoneThread>(id) && !phone.handles.Take<FileHandle>(id))
      throw Failure{ERROR_INVALID_HANDLE};
    return 1;
  };
  return Enter<Call::CloseHandle>(phone, close, [&] { phone.handles.Refuse(id); });
}

void Sleep(DWORD milliseconds) { ThisPhone().clock.Sleep(std::chrono::milliseconds(milliseconds)); }

LONG InterlockedExchange(LONG* target, LONG value) { return __atomic_exchange_n(target, value, __ATOMIC_SEQ_CST); }

LONG InterlockedExchangeAdd(LONG* target, LONG value) { return __atomic_fetch_add(target, value, __ATOMIC_SEQ_CST); }

void GetLocalTime(SYSTEMTIME* time) { *time = handset::ToSystemTime(ThisPhone().clock.Now()); }

void* LocalAlloc(DWORD flags, DWORD bytes) {
  const auto allocate = [&](const std::shared_ptr<handset::Ledger>& ledger) {
    void* block = handset::AllocateBlock(ledger, Held::kHeapBlock, bytes);
    if (block != nullptr && (flags & LMEM_ZEROINIT) != 0) std::memset(block, 0, bytes);
    return block;
  };
  Handset* handset = Handset::CurrentOrNull();
  if (handset == nullptr) return allocate(nullptr);
  Phone& phone = handset->GetPhone();
  return Enter<Call::LocalAlloc>(phone, [&] { return allocate(phone.ledger); });
}

void* LocalFree(void* block) {
  if (block != nullptr) handset::FreeBlock(block);
  return nullptr;
}

void GlobalMemoryStatus(MEMORYSTATUS* status) {
  *status = {};
  status->dwLength = sizeof(MEMORYSTATUS);
  status->dwTotalVirtual = status->dwAvailVirtual = kVirtualBytes;
  try {
    const handset::Memory memory = ThisPhone().store.GetMemory();
    status->dwMemoryLoad = memory.load;
    status->dwTotalPhys = memory.totalPhysical;
    status->dwAvailPhys = memory.availablePhysical;
  } catch (const std::exception&) {
    // The call cannot fail: a phone whose store is gone has no memory to tell of.
  }
}

BOOL GetVersionExW(OSVERSIONINFOW* version) {
  Phone& phone = ThisPhone();
  return Enter<Call::GetVersionExW>(phone, [&]() -> BOOL {
    const handset::Os os = phone.store.GetOs();
    if (os.queryFails || version->dwOSVersionInfoSize < sizeof(OSVERSIONINFOW)) throw Failure{ERROR_INVALID_PARAMETER};
    *version = {.dwOSVersionInfoSize = sizeof(OSVERSIONINFOW),
                .dwMajorVersion = os.major,
                .dwMinorVersion = os.minor,
                .dwBuildNumber = os.build,
                .dwPlatformId = os.platform,
                .szCSDVersion = {}};
    return 1;
  });
}

DWORD GetSystemPowerStatusEx2(SYSTEM_POWER_STATUS_EX2* status, DWORD size, BOOL) {
  Phone& phone = ThisPhone();
  return Enter<Call::GetSystemPowerStatusEx2>(phone, [&] {
    const handset::Power power = phone.store.GetPower();
    if (power.queryFails || status == nullptr) throw Failure{handset::InfoOf(Call::GetSystemPowerStatusEx2).code};
    SYSTEM_POWER_STATUS_EX2 full{};
    full.ACLineStatus = power.acLine;
    full.BatteryFlag = power.batteryFlag;
    full.BatteryLifePercent = power.batteryPercent;
    full.BatteryLifeTime = full.BatteryFullLifeTime = kUnknownTime;
    full.BackupBatteryFlag = full.BackupBatteryLifePercent = BATTERY_PERCENTAGE_UNKNOWN;
    full.BackupBatteryLifeTime = full.BackupBatteryFullLifeTime = kUnknownTime;
    const DWORD written = std::min<DWORD>(size, sizeof(full));
    std::memcpy(status, &full, written);
    return written;
  });
}

}  // namespace ce
