#include "platform/Tapi.h"

#include <cstring>
#include <limits>
#include <span>

#include "handset/Enter.h"
#include "handset/Text.h"

using handset::Call;
using handset::Enter;
using handset::Failure;
using handset::Held;
using handset::Line;
using handset::Phone;
using handset::ThisPhone;
using handset::ThrowCode;

namespace {

constexpr ce::DWORD kLowestApi = 0x00010004;
constexpr ce::DWORD kHighestApi = 0x00020000;
constexpr ce::DWORD kExtension = 0x00010000;

// tapi.h, where the agent does not look.
constexpr ce::DWORD kInvalidAppHandle = 0x80000014;
constexpr ce::DWORD kInvalidPointer = 0x80000035;

// What an application that asked for an event gets. It is the phone's own: nobody closes it.
constexpr ce::DWORD kLineEvent = 0x0FFC;

struct LineApp : handset::HandleObject {
  LineApp() : HandleObject(Held::kLineApp) {}
};

struct OpenLine : handset::HandleObject {
  OpenLine(std::shared_ptr<LineApp> of, ce::DWORD number)
      : HandleObject(Held::kLine), app(std::move(of)), device(number) {}

  const std::shared_ptr<LineApp> app;
  const ce::DWORD device;
};

std::shared_ptr<LineApp> FindApp(const Phone& phone, ce::HLINEAPP app) {
  auto found = phone.handles.Find<LineApp>(static_cast<std::uintptr_t>(app));
  if (!found) throw Failure{kInvalidAppHandle};
  return found;
}

Line FindDevice(const Phone& phone, ce::DWORD device) {
  auto line = phone.store.GetLine(device);
  if (!line) ThrowCode(ce::LINEERR_BADDEVICEID);
  return std::move(*line);
}

void CheckApi(ce::DWORD version) {
  if (version < kLowestApi || version > kHighestApi) ThrowCode(ce::LINEERR_INCOMPATIBLEAPIVERSION);
}

// Fills a variable-size record: the fixed part is there, and each text stands behind the one before if the caller's
// record has room for all of it. The needed size is told in any case.
template <typename Record>
class RecordWriter {
 public:
  explicit RecordWriter(Record* record) : m_record(record), m_total(record->dwTotalSize) {
    if (m_total < sizeof(Record)) ThrowCode(ce::LINEERR_STRUCTURETOOSMALL);
    *record = {};
    record->dwTotalSize = m_total;
  }

  // A text that the phone does not have leaves size and offset 0.
  void Add(const std::optional<std::u16string>& text, ce::DWORD Record::*size, ce::DWORD Record::*offset) {
    if (!text) return;
    const auto bytes = static_cast<ce::DWORD>((text->size() + 1) * sizeof(ce::WCHAR));
    m_needed += bytes;
    if (bytes > m_total - m_used) return;
    std::memcpy(reinterpret_cast<std::byte*>(m_record) + m_used, text->c_str(), bytes);
    m_record->*size = bytes;
    m_record->*offset = m_used;
    m_used += bytes;
  }

  void Finish() {
    m_record->dwNeededSize = m_needed;
    m_record->dwUsedSize = m_used;
  }

 private:
  Record* m_record;
  ce::DWORD m_total;
  ce::DWORD m_needed = sizeof(Record);
  ce::DWORD m_used = sizeof(Record);
};

}  // namespace

namespace ce {

LONG lineInitializeEx(HLINEAPP* app, HINSTANCE, LINECALLBACK, LPCWSTR appName, DWORD* deviceCount, DWORD* apiVersion,
                      LINEINITIALIZEEXPARAMS* params) {
  Phone& phone = ThisPhone();
  return Enter<Call::lineInitializeEx>(phone, [&]() -> LONG {
    if (app == nullptr || deviceCount == nullptr || apiVersion == nullptr || params == nullptr) {
      throw Failure{kInvalidPointer};
    }
    if (params->dwTotalSize < sizeof(LINEINITIALIZEEXPARAMS)) ThrowCode(LINEERR_STRUCTURETOOSMALL);
    if (*apiVersion < kLowestApi) ThrowCode(LINEERR_INCOMPATIBLEAPIVERSION);
    const auto devices = static_cast<DWORD>(phone.store.GetLines().size());
    const std::string name = appName != nullptr ? handset::ForPeople(appName) : std::string();
    *app = HLINEAPP{phone.handles.Add(std::make_shared<LineApp>(), name)};
    *deviceCount = devices;
    *apiVersion = kHighestApi;
    params->dwNeededSize = params->dwUsedSize = sizeof(LINEINITIALIZEEXPARAMS);
    if ((params->dwOptions & LINEINITIALIZEEXOPTION_USEEVENT) != 0) params->hEvent = kLineEvent;
    return 0;
  });
}

LONG lineNegotiateAPIVersion(HLINEAPP app, DWORD device, DWORD low, DWORD high, DWORD* version,
                             LINEEXTENSIONID* extension) {
  Phone& phone = ThisPhone();
  return Enter<Call::lineNegotiateAPIVersion>(phone, [&]() -> LONG {
    FindApp(phone, app);
    FindDevice(phone, device);
    if (version == nullptr) throw Failure{kInvalidPointer};
    if (low > high || high < kLowestApi || low > kHighestApi) ThrowCode(LINEERR_INCOMPATIBLEAPIVERSION);
    *version = std::min(high, kHighestApi);
    if (extension != nullptr) *extension = {};
    return 0;
  });
}

LONG lineGetDevCaps(HLINEAPP app, DWORD device, DWORD apiVersion, DWORD, LINEDEVCAPS* caps) {
  Phone& phone = ThisPhone();
  return Enter<Call::lineGetDevCaps>(phone, [&]() -> LONG {
    FindApp(phone, app);
    const Line line = FindDevice(phone, device);
    CheckApi(apiVersion);
    if (caps == nullptr) throw Failure{kInvalidPointer};
    RecordWriter writer(caps);
    caps->dwPermanentLineID = device;
    caps->dwStringFormat = STRINGFORMAT_UNICODE;
    caps->dwNumAddresses = 1;
    caps->dwMaxNumActiveCalls = 1;
    caps->dwMediaModes = LINEMEDIAMODE_INTERACTIVEVOICE | LINEMEDIAMODE_DATAMODEM;
    writer.Add(line.name, &LINEDEVCAPS::dwLineNameSize, &LINEDEVCAPS::dwLineNameOffset);
    writer.Finish();
    return 0;
  });
}

LONG lineOpen(HLINEAPP app, DWORD device, HLINE* line, DWORD apiVersion, DWORD, DWORD, DWORD, DWORD, LINECALLPARAMS*) {
  Phone& phone = ThisPhone();
  return Enter<Call::lineOpen>(phone, [&]() -> LONG {
    const auto owner = FindApp(phone, app);
    const Line found = FindDevice(phone, device);
    CheckApi(apiVersion);
    if (line == nullptr) throw Failure{kInvalidPointer};
    *line = HLINE{phone.handles.Add(std::make_shared<OpenLine>(owner, device), handset::ForPeople(found.name))};
    return 0;
  });
}

LONG lineNegotiateExtVersion(HLINEAPP app, DWORD device, DWORD apiVersion, DWORD low, DWORD high, DWORD* extVersion) {
  Phone& phone = ThisPhone();
  return Enter<Call::lineNegotiateExtVersion>(phone, [&]() -> LONG {
    FindApp(phone, app);
    FindDevice(phone, device);
    CheckApi(apiVersion);
    if (extVersion == nullptr) throw Failure{kInvalidPointer};
    if (low > kExtension || high < kExtension) ThrowCode(LINEERR_INCOMPATIBLEEXTVERSION);
    *extVersion = kExtension;
    return 0;
  });
}

LONG lineClose(HLINE line) {
  Phone& phone = ThisPhone();
  const auto id = static_cast<std::uintptr_t>(line);
  const auto close = [&]() -> LONG { return phone.handles.Take<OpenLine>(id) ? 0 : LINEERR_INVALLINEHANDLE; };
  return Enter<Call::lineClose>(phone, close, [&] { phone.handles.Refuse(id); });
}

LONG lineShutdown(HLINEAPP app) {
  Phone& phone = ThisPhone();
  const auto id = static_cast<std::uintptr_t>(app);
  const auto shutDown = [&]() -> LONG {
    const auto taken = phone.handles.Take<LineApp>(id);
    if (!taken) throw Failure{kInvalidAppHandle};
    phone.handles.TakeIf<OpenLine>([&](const OpenLine& line) { return line.app == taken; });
    return 0;
  };
  return Enter<Call::lineShutdown>(phone, shutDown, [&] { phone.handles.Refuse(id); });
}

LONG lineGetGeneralInfo(HLINE line, LINEGENERALINFO* info) {
  Phone& phone = ThisPhone();
  return Enter<Call::lineGetGeneralInfo>(phone, [&]() -> LONG {
    const auto open = phone.handles.Find<OpenLine>(static_cast<std::uintptr_t>(line));
    if (!open) ThrowCode(LINEERR_INVALLINEHANDLE);
    const Line radio = FindDevice(phone, open->device);
    if (radio.radioOff) ThrowCode(LINEERR_OPERATIONFAILED);
    if (radio.operationUnavailable) ThrowCode(LINEERR_OPERATIONUNAVAIL);
    if (info == nullptr) throw Failure{kInvalidPointer};
    using Info = LINEGENERALINFO;
    RecordWriter writer(info);
    writer.Add(radio.manufacturer, &Info::dwManufacturerSize, &Info::dwManufacturerOffset);
    writer.Add(radio.model, &Info::dwModelSize, &Info::dwModelOffset);
    writer.Add(radio.revision, &Info::dwRevisionSize, &Info::dwRevisionOffset);
    writer.Add(radio.serialNumber, &Info::dwSerialNumberSize, &Info::dwSerialNumberOffset);
    writer.Add(radio.subscriberNumber, &Info::dwSubscriberNumberSize, &Info::dwSubscriberNumberOffset);
    writer.Finish();
    return 0;
  });
}

}  // namespace ce
