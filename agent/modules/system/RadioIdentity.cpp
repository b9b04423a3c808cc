#include "agent/modules/system/RadioIdentity.h"

#include <algorithm>
#include <cstring>
#include <new>
#include <optional>

#include "agent/engine/ErrorRecord.h"

namespace {

constexpr ce::DWORD kApiVersion = 0x00020000;
constexpr ce::DWORD kExtVersion = 0x00010000;
constexpr std::u16string_view kCellularLine = u"Cellular Line";
constexpr std::uint32_t kNoMemory = 255;
constexpr ce::DWORD kLargestRecord = 4 << 20;  // a driver that asks for more is not believed

// One of TAPI's variable-size records: the fixed part first, to learn the size that the whole needs, then the whole.
template <class Record>
class CVariableRecord {
 public:
  CVariableRecord() = default;

  // False when there is no memory.
  bool Allocate(ce::DWORD bytes) {
    m_bytes = std::max<ce::DWORD>(bytes, sizeof(Record));
    m_words.reset(m_bytes <= kLargestRecord ? new (std::nothrow) ce::DWORD[(m_bytes + 3) / 4]() : nullptr);
    if (m_words == nullptr) {
      return false;
    }
    Get()->dwTotalSize = m_bytes;
    return true;
  }

  Record* Get() { return reinterpret_cast<Record*>(m_words.get()); }

  // The text at an offset, up to its terminator, its size or the record's end. False when there is no memory for it.
  bool CopyText(ce::DWORD offset, ce::DWORD size, std::unique_ptr<char16_t[]>& copy) const {
    const ce::DWORD room = offset < m_bytes ? std::min(size, m_bytes - offset) : 0;
    const auto* bytes = reinterpret_cast<const std::uint8_t*>(m_words.get()) + (room != 0 ? offset : 0);
    copy.reset(new (std::nothrow) char16_t[room / 2 + 1]());
    if (copy == nullptr) {
      return false;
    }
    std::memcpy(copy.get(), bytes, room & ~std::size_t{1});
    return true;
  }

 private:
  std::unique_ptr<ce::DWORD[]> m_words;
  ce::DWORD m_bytes = 0;
};

// Leaves the record of a failed call and passes its code on.
std::uint32_t Failed(const char16_t* functionName, ce::LONG result) {
  const auto code = static_cast<std::uint32_t>(result);
  Fail(functionName, code);
  return code;
}

struct CellularLine {
  ce::DWORD device;
  ce::DWORD apiVersion;
};

// Sets match when the device is the cellular line.
std::uint32_t CheckLine(ce::HLINEAPP app, ce::DWORD device, std::optional<CellularLine>& match) {
  ce::DWORD version = 0;
  ce::LINEEXTENSIONID extension{};
  ce::LONG result = ce::lineNegotiateAPIVersion(app, device, kApiVersion, kApiVersion, &version, &extension);
  if (result != 0) {
    return Failed(u"lineNegotiateAPIVersion", result);
  }
  CVariableRecord<ce::LINEDEVCAPS> caps;
  if (!caps.Allocate(sizeof(ce::LINEDEVCAPS))) {
    return kNoMemory;
  }
  result = ce::lineGetDevCaps(app, device, version, 0, caps.Get());
  if (result != 0) {
    return Failed(u"getcount lineGetDevCaps", result);
  }
  if (!caps.Allocate(caps.Get()->dwNeededSize)) {
    return kNoMemory;
  }
  result = ce::lineGetDevCaps(app, device, version, 0, caps.Get());
  if (result != 0) {
    return Failed(u"getdata lineGetDevCaps", result);
  }
  std::unique_ptr<char16_t[]> name;
  if (!caps.CopyText(caps.Get()->dwLineNameOffset, caps.Get()->dwLineNameSize, name)) {
    return kNoMemory;
  }
  if (name.get() == kCellularLine) {
    match = CellularLine{device, version};
  }
  return 0;
}

}  // namespace

CRadioIdentity::CRadioIdentity() = default;
CRadioIdentity::~CRadioIdentity() = default;

// Kept(line-app-left-open): when looking at the lines fails, the line application is not shut down.
std::uint32_t CRadioIdentity::Query() {
  ce::HLINEAPP app{};
  ce::DWORD deviceCount = 0;
  ce::DWORD apiVersion = kApiVersion;
  ce::LINEINITIALIZEEXPARAMS params{};
  params.dwTotalSize = sizeof params;
  params.dwOptions = ce::LINEINITIALIZEEXOPTION_USEEVENT;
  const ce::LONG result =
      ce::lineInitializeEx(&app, ce::HINSTANCE{}, nullptr, u"BrelixEngine", &deviceCount, &apiVersion, &params);
  if (result != 0) {
    return Failed(u"lineInitializeEx", result);
  }
  std::optional<CellularLine> cellular;  // the last one that matches
  for (ce::DWORD device = 0; device < deviceCount; ++device) {
    const std::uint32_t error = CheckLine(app, device, cellular);
    if (error != 0) {
      return error;
    }
  }
  const std::uint32_t answer = cellular ? QueryLine(app, cellular->device, cellular->apiVersion) : 0;
  ce::lineShutdown(app);
  return answer;
}

// Kept(line-left-open): when the extension cannot be negotiated the line is not closed, only the application shut down.
std::uint32_t CRadioIdentity::QueryLine(ce::HLINEAPP app, ce::DWORD device, ce::DWORD apiVersion) {
  ce::HLINE line{};
  ce::LONG result = ce::lineOpen(app, device, &line, apiVersion, 0, 0, ce::LINECALLPRIVILEGE_OWNER,
                                 ce::LINEMEDIAMODE_INTERACTIVEVOICE | ce::LINEMEDIAMODE_DATAMODEM, nullptr);
  if (result != 0) {
    return Failed(u"lineOpen", result);
  }
  ce::DWORD extVersion = 0;
  result = ce::lineNegotiateExtVersion(app, device, apiVersion, kExtVersion, kExtVersion, &extVersion);
  if (result != 0) {
    return Failed(u"lineNegotiateExtVersion", result);
  }
  const std::uint32_t answer = ReadTexts(line);
  ce::lineClose(line);
  return answer;
}

std::uint32_t CRadioIdentity::ReadTexts(ce::HLINE line) {
  CVariableRecord<ce::LINEGENERALINFO> info;
  if (!info.Allocate(sizeof(ce::LINEGENERALINFO))) {
    return kNoMemory;
  }
  ce::LONG result = ce::lineGetGeneralInfo(line, info.Get());
  if (result == ce::LINEERR_OPERATIONUNAVAIL) {
    return 0;
  }
  if (result != 0) {
    return Failed(u"getcount lineGetGeneralInfo", result);
  }
  if (!info.Allocate(info.Get()->dwNeededSize)) {
    return kNoMemory;
  }
  result = ce::lineGetGeneralInfo(line, info.Get());
  if (result != 0) {
    return Failed(u"getdata lineGetGeneralInfo", result);
  }
  const ce::LINEGENERALINFO& record = *info.Get();
  const bool copied = info.CopyText(record.dwSerialNumberOffset, record.dwSerialNumberSize, m_serialNumber) &&
                      info.CopyText(record.dwManufacturerOffset, record.dwManufacturerSize, m_manufacturer) &&
                      info.CopyText(record.dwModelOffset, record.dwModelSize, m_model) &&
                      info.CopyText(record.dwRevisionOffset, record.dwRevisionSize, m_revision) &&
                      info.CopyText(record.dwSubscriberNumberOffset, record.dwSubscriberNumberSize, m_subscriberNumber);
  return copied ? 0 : kNoMemory;
}
