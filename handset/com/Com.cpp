#include "platform/Com.h"

#include "handset/Enter.h"
#include "handset/pim/PocketOutlook.h"

using handset::Call;
using handset::ComThread;
using handset::Enter;
using handset::Failure;
using handset::Held;
using handset::Phone;
using handset::ThisPhone;

namespace {

constexpr ce::HRESULT kChangedMode = ce::Hresult(0x80010106);
constexpr ce::HRESULT kNotInitialised = ce::Hresult(0x800401F0);
constexpr ce::HRESULT kClassNotRegistered = ce::Hresult(0x80040154);
constexpr ce::HRESULT kNoAggregation = ce::Hresult(0x80040110);

// The thread model is told by these bits of the flags.
constexpr ce::DWORD kModelMask = 0x02;

// The host may give the number of an ended thread to a new one; these are never used again.
std::uint64_t ThisThread() {
  static std::atomic<std::uint64_t> last{0};
  thread_local const std::uint64_t number = ++last;
  return number;
}

}  // namespace

namespace ce {

HRESULT CoInitializeEx(void*, DWORD flags) {
  Phone& phone = ThisPhone();
  return Enter<Call::CoInitializeEx>(phone, [&] {
    const std::lock_guard lock(phone.comMutex);
    ComThread& thread = phone.comThreads[ThisThread()];
    if (thread.starts > 0 && ((thread.flags ^ flags) & kModelMask) != 0) return kChangedMode;
    thread.flags = flags;
    phone.ledger->Hold(Held::kComStart, ThisThread());
    return ++thread.starts == 1 ? S_OK : S_FALSE;
  });
}

void CoUninitialize() {
  Phone& phone = ThisPhone();
  const std::lock_guard lock(phone.comMutex);
  const auto thread = phone.comThreads.find(ThisThread());
  if (thread == phone.comThreads.end()) return;
  phone.ledger->Drop(Held::kComStart, ThisThread());
  if (--thread->second.starts == 0) phone.comThreads.erase(thread);
}

HRESULT CoCreateInstance(const CLSID& classId, IUnknown* outer, DWORD context, const IID& iid, void** object) {
  Phone& phone = ThisPhone();
  return Enter<Call::CoCreateInstance>(phone, [&] {
    if (object == nullptr) return E_POINTER;
    *object = nullptr;
    {
      // A thread that started nothing shares what another one started.
      const std::lock_guard lock(phone.comMutex);
      if (phone.comThreads.empty()) return kNotInitialised;
    }
    if (classId != CLSID_Application || (context & CLSCTX_INPROC_SERVER) == 0) return kClassNotRegistered;
    if (outer != nullptr) return kNoAggregation;
    return handset::CreateOutlookApp(phone, iid, object);
  });
}

}  // namespace ce
