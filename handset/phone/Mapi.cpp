#include "platform/Mapi.h"

#include "handset/com/ComObject.h"

namespace handset {

namespace {

using ce::ENTRYID;
using ce::HRESULT;
using ce::IID;
using ce::S_OK;
using ce::ULONG;

constexpr HRESULT MAPI_E_NO_SUPPORT = ce::Hresult(0x80040102);
constexpr HRESULT MAPI_E_NOT_INITIALIZED = ce::Hresult(0x80040605);

class Session final : public ComObject<Session, ce::IMAPISession> {
 public:
  static constexpr const char* kName = "IMAPISession";
  static constexpr Call kRelease = Call::IMAPISession_Release;
  static bool Answers(const IID&) { return false; }

  explicit Session(Phone& phone) : ComObject(phone) { phone.ledger->Hold(Held::kMapiLogon, GetId()); }

  HRESULT Logoff(ULONG, ULONG, ULONG) override {
    const auto logOff = [&] { return GetPhone().ledger->Drop(Held::kMapiLogon, GetId()) ? S_OK : ce::E_FAIL; };
    return Enter<Call::IMAPISession_Logoff>(GetPhone(), logOff,
                                            [&] { GetPhone().ledger->Refuse(Held::kMapiLogon, GetId()); });
  }

  HRESULT GetLastError(HRESULT, ULONG, ce::MAPIERROR**) override { return MAPI_E_NO_SUPPORT; }
  HRESULT GetMsgStoresTable(ULONG, ce::IMAPITable**) override { return MAPI_E_NO_SUPPORT; }
  HRESULT OpenMsgStore(ULONG, ULONG, ENTRYID*, const IID*, ULONG, ce::IMsgStore**) override {
    return MAPI_E_NO_SUPPORT;
  }
  HRESULT OpenAddressBook(ULONG, const IID*, ULONG, ce::IAddrBook**) override { return MAPI_E_NO_SUPPORT; }
  HRESULT OpenProfileSection(ce::MAPIUID*, const IID*, ULONG, ce::IProfSect**) override { return MAPI_E_NO_SUPPORT; }
  HRESULT GetStatusTable(ULONG, ce::IMAPITable**) override { return MAPI_E_NO_SUPPORT; }
  HRESULT OpenEntry(ULONG, ENTRYID*, const IID*, ULONG, ULONG*, ce::IUnknown**) override { return MAPI_E_NO_SUPPORT; }
  HRESULT CompareEntryIDs(ULONG, ENTRYID*, ULONG, ENTRYID*, ULONG, ULONG*) override { return MAPI_E_NO_SUPPORT; }
  HRESULT Advise(ULONG, ENTRYID*, ULONG, ce::IMAPIAdviseSink*, ULONG*) override { return MAPI_E_NO_SUPPORT; }
  HRESULT Unadvise(ULONG) override { return MAPI_E_NO_SUPPORT; }
  HRESULT MessageOptions(ULONG, ULONG, ce::WCHAR*, ce::IMessage*) override { return MAPI_E_NO_SUPPORT; }
  HRESULT QueryDefaultMessageOpt(ce::WCHAR*, ULONG, ULONG*, ce::SPropValue**) override { return MAPI_E_NO_SUPPORT; }
  HRESULT EnumAdrTypes(ULONG, ULONG*, ce::WCHAR***) override { return MAPI_E_NO_SUPPORT; }
  HRESULT QueryIdentity(ULONG*, ENTRYID**) override { return MAPI_E_NO_SUPPORT; }
  HRESULT SetDefaultStore(ULONG, ULONG, ENTRYID*) override { return MAPI_E_NO_SUPPORT; }
  HRESULT AdminServices(ULONG, ce::IMsgServiceAdmin**) override { return MAPI_E_NO_SUPPORT; }
  HRESULT ShowForm(ULONG, ce::IMsgStore*, void*, const IID*, ULONG, ce::IMessage*, ULONG, ULONG, ULONG, ULONG,
                   char*) override {
    return MAPI_E_NO_SUPPORT;
  }
  HRESULT PrepareForm(const IID*, ce::IMessage*, ULONG*) override { return MAPI_E_NO_SUPPORT; }
  HRESULT CreateMsgStore(ce::LPCWSTR, ce::IMsgStore**) override { return MAPI_E_NO_SUPPORT; }
  HRESULT DeleteMsgStore(ULONG, ENTRYID*) override { return MAPI_E_NO_SUPPORT; }
};

}  // namespace

}  // namespace handset

namespace ce {

using handset::Call;
using handset::Enter;
using handset::Held;
using handset::Phone;

HRESULT MAPIInitialize(void*) {
  Phone& phone = handset::ThisPhone();
  return Enter<Call::MAPIInitialize>(phone, [&] {
    phone.ledger->Hold(Held::kMapiStart, 0);
    return S_OK;
  });
}

void MAPIUninitialize() { handset::ThisPhone().ledger->Drop(Held::kMapiStart, 0); }

HRESULT MAPILogonEx(ULONG, WCHAR*, WCHAR*, ULONG, IMAPISession** session) {
  Phone& phone = handset::ThisPhone();
  return Enter<Call::MAPILogonEx>(phone, [&] {
    if (session == nullptr) return E_INVALIDARG;
    *session = nullptr;
    if (phone.ledger->Count(Held::kMapiStart) == 0) return handset::MAPI_E_NOT_INITIALIZED;
    *session = new handset::Session(phone);
    return S_OK;
  });
}

}  // namespace ce
