#include "platform/CallLog.h"

#include "handset/Enter.h"

using handset::Call;
using handset::Enter;
using handset::Held;
using handset::Phone;
using handset::ThisPhone;

namespace {

struct OpenCallLog : handset::HandleObject {
  OpenCallLog() : HandleObject(Held::kCallLog) {}
};

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

HRESULT PhoneCloseCallLog(HANDLE log) {
  Phone& phone = ThisPhone();
  const auto id = static_cast<std::uintptr_t>(log);
  const auto close = [&] { return phone.handles.Take<OpenCallLog>(id) ? S_OK : E_INVALIDARG; };
  return Enter<Call::PhoneCloseCallLog>(phone, close, [&] { phone.handles.Refuse(id); });
}

}  // namespace ce
