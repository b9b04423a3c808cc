#include "handset/com/ComObject.h"
#include "handset/mail/Objects.h"
#include "handset/mail/Unsupported.h"
#include "platform/Mapi.h"

namespace handset {

namespace {

using ce::ENTRYID;
using ce::HRESULT;
using ce::IID;
using ce::S_OK;
using ce::ULONG;

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

  HRESULT GetMsgStoresTable(ULONG, ce::IMAPITable** table) override {
    return Enter<Call::IMAPISession_GetMsgStoresTable>(GetPhone(), [&] {
      if (table == nullptr) return ce::E_INVALIDARG;
      *table = NewStoresTable(GetPhone());
      return S_OK;
    });
  }

  HRESULT OpenMsgStore(ULONG, ULONG idSize, ENTRYID* id, const IID*, ULONG, ce::IMsgStore** store) override {
    return Enter<Call::IMAPISession_OpenMsgStore>(GetPhone(), [&] {
      if (store == nullptr) return ce::E_INVALIDARG;
      *store = nullptr;
      const std::optional<EntryId> entry = ReadEntryId(idSize, id);
      if (!entry || entry->kind != EntryKind::kStore) return kInvalidEntryId;
      *store = NewMsgStore(GetPhone(), entry->id);
      return S_OK;
    });
  }

  HRESULT OpenEntry(ULONG idSize, ENTRYID* id, const IID*, ULONG, ULONG* type, ce::IUnknown** object) override {
    return Enter<Call::IMAPISession_OpenEntry>(
        GetPhone(), [&] { return handset::OpenEntry(GetPhone(), idSize, id, type, object); });
  }

  HRESULT GetLastError(HRESULT, ULONG, ce::MAPIERROR**) override { return kNoSupport; }
  HRESULT OpenAddressBook(ULONG, const IID*, ULONG, ce::IAddrBook**) override { return kNoSupport; }
  HRESULT OpenProfileSection(ce::MAPIUID*, const IID*, ULONG, ce::IProfSect**) override { return kNoSupport; }
  HRESULT GetStatusTable(ULONG, ce::IMAPITable**) override { return kNoSupport; }
  HRESULT CompareEntryIDs(ULONG, ENTRYID*, ULONG, ENTRYID*, ULONG, ULONG*) override { return kNoSupport; }
  HRESULT Advise(ULONG, ENTRYID*, ULONG, ce::IMAPIAdviseSink*, ULONG*) override { return kNoSupport; }
  HRESULT Unadvise(ULONG) override { return kNoSupport; }
  HRESULT MessageOptions(ULONG, ULONG, ce::WCHAR*, ce::IMessage*) override { return kNoSupport; }
  HRESULT QueryDefaultMessageOpt(ce::WCHAR*, ULONG, ULONG*, ce::SPropValue**) override { return kNoSupport; }
  HRESULT EnumAdrTypes(ULONG, ULONG*, ce::WCHAR***) override { return kNoSupport; }
  HRESULT QueryIdentity(ULONG*, ENTRYID**) override { return kNoSupport; }
  HRESULT SetDefaultStore(ULONG, ULONG, ENTRYID*) override { return kNoSupport; }
  HRESULT AdminServices(ULONG, ce::IMsgServiceAdmin**) override { return kNoSupport; }
  HRESULT ShowForm(ULONG, ce::IMsgStore*, void*, const IID*, ULONG, ce::IMessage*, ULONG, ULONG, ULONG, ULONG,
                   char*) override {
    return kNoSupport;
  }
  HRESULT PrepareForm(const IID*, ce::IMessage*, ULONG*) override { return kNoSupport; }
  HRESULT CreateMsgStore(ce::LPCWSTR, ce::IMsgStore**) override { return kNoSupport; }
  HRESULT DeleteMsgStore(ULONG, ENTRYID*) override { return kNoSupport; }
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
