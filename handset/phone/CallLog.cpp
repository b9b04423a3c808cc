#include "platform/CallLog.h"

#include <atomic>
#include <optional>

#include "handset/Enter.h"
#include "handset/store/CallRows.h"
#include "handset/system/Heap.h"

using handset::Call;
using handset::CallEntry;
using handset::Enter;
using handset::Failure;
using handset::Held;
using handset::Phone;
using handset::ThisPhone;

namespace {

// The log as it was when it was first looked into: newest call first.
struct OpenCallLog : handset::HandleObject {
  OpenCallLog() : HandleObject(Held::kCallLog) {}

  std::mutex mutex;
  std::optional<std::vector<std::int64_t>> ids;
  std::size_t next = 0;
};

std::shared_ptr<OpenCallLog> FindLog(const Phone& phone, ce::HANDLE log) {
  auto open = phone.handles.Find<OpenCallLog>(static_cast<std::uintptr_t>(log));
  if (!open) throw Failure{static_cast<ce::DWORD>(ce::E_INVALIDARG)};
  return open;
}

const std::vector<std::int64_t>& IdsOf(const Phone& phone, OpenCallLog& log) {
  if (!log.ids) log.ids = phone.store.Use([](auto& database) { return handset::SelectCallIds(database); });
  return *log.ids;
}

// For the caller to give back with LocalFree; null for a text that the phone does not have.
ce::WCHAR* NewText(Phone& phone, const std::optional<std::u16string>& text) {
  if (!text) return nullptr;
  const std::size_t bytes = (text->size() + 1) * sizeof(ce::WCHAR);
  auto* units = static_cast<ce::WCHAR*>(handset::AllocateBlock(phone.ledger, Held::kHeapBlock, bytes));
  if (units == nullptr) throw Failure{static_cast<ce::DWORD>(ce::E_OUTOFMEMORY)};
  text->copy(units, text->size());
  units[text->size()] = 0;
  return units;
}

void Fill(Phone& phone, const CallEntry& call, ce::CALLLOGENTRY& entry) {
  entry = {.cbSize = sizeof entry,
           .ftStartTime = handset::ToRecord(call.start),
           .ftEndTime = handset::ToRecord(call.end),
           .iom = call.direction,
           .flags = call.flags,
           .cidt = call.callerId,
           .pszNumber = NewText(phone, call.number),
           .pszName = NewText(phone, call.name),
           .pszNameType = NewText(phone, call.phoneType),
           .pszNote = NewText(phone, call.note)};
}

}  // namespace

namespace ce {

HRESULT PhoneOpenCallLog(HANDLE* log) {
  Phone& phone = ThisPhone();
  return Enter<Call::PhoneOpenCallLog>(phone, [&] {
    if (log == nullptr) return E_INVALIDARG;
    *log = HANDLE{phone.handles.Add(std::make_shared<OpenCallLog>(), {})};
    return S_OK;
  });
}

HRESULT PhoneGetCallLogEntry(HANDLE log, CALLLOGENTRY* entry) {
  Phone& phone = ThisPhone();
  return Enter<Call::PhoneGetCallLogEntry>(phone, [&] {
    const auto open = FindLog(phone, log);
    if (entry == nullptr || entry->cbSize != sizeof(CALLLOGENTRY)) return E_INVALIDARG;
    const std::lock_guard lock(open->mutex);
    const auto& ids = IdsOf(phone, *open);
    if (open->next >= ids.size()) return S_FALSE;
    const auto call = phone.store.Use([&](auto& database) { return handset::SelectCall(database, ids[open->next]); });
    if (!call) return E_FAIL;
    Fill(phone, *call, *entry);
    ++open->next;
    return S_OK;
  });
}

HRESULT PhoneCloseCallLog(HANDLE log) {
  Phone& phone = ThisPhone();
  const auto id = static_cast<std::uintptr_t>(log);
  const auto close = [&] { return phone.handles.Take<OpenCallLog>(id) ? S_OK : E_INVALIDARG; };
  return Enter<Call::PhoneCloseCallLog>(phone, close, [&] { phone.handles.Refuse(id); });
}

HRESULT PhoneSeekCallLog(HANDLE log, INT seek, DWORD record, DWORD* reached) {
  Phone& phone = ThisPhone();
  return Enter<Call::PhoneSeekCallLog>(phone, [&] {
    const auto open = FindLog(phone, log);
    if (reached == nullptr || (seek != CALLLOGSEEK_BEGINNING && seek != CALLLOGSEEK_END)) return E_INVALIDARG;
    const std::lock_guard lock(open->mutex);
    const std::size_t count = IdsOf(phone, *open).size();
    if (record >= count) return E_FAIL;
    open->next = seek == CALLLOGSEEK_BEGINNING ? record : count - 1 - record;
    *reached = static_cast<DWORD>(open->next);
    return S_OK;
  });
}

}  // namespace ce
