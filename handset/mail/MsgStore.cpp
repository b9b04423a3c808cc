#include "handset/mail/Objects.h"
#include "handset/mail/PropertyObject.h"
#include "handset/mail/Table.h"

namespace handset {

namespace {

using ce::ENTRYID;
using ce::HRESULT;
using ce::ULONG;

Properties PropertiesOf(std::int64_t id, const std::optional<MailAccount>& account) {
  Properties properties;
  if (!account) return properties;
  Add(properties, ce::PR_DISPLAY_NAME, account->name);
  properties.emplace_back(ce::PR_ENTRYID, ToBytes({EntryKind::kStore, id}));
  properties.emplace_back(ce::PR_IPM_SUBTREE_ENTRYID, ToBytes({EntryKind::kRoot, id}));
  return properties;
}

class MsgStore final : public PropertyObject<MsgStore, ce::IMsgStore> {
 public:
  static constexpr const char* kName = "IMsgStore";
  static constexpr Call kRelease = Call::IMsgStore_Release;
  static constexpr Call kGetProps = Call::IMsgStore_GetProps;

  MsgStore(Phone& phone, std::int64_t account) : PropertyObject(phone), m_account(account) {}

  Properties ReadProperties() {
    return PropertiesOf(m_account, GetPhone().store.Use([&](auto& db) { return SelectAccount(db, m_account); }));
  }

  HRESULT Advise(ULONG, ENTRYID*, ULONG, ce::IMAPIAdviseSink*, ULONG*) override { return kNoSupport; }
  HRESULT Unadvise(ULONG) override { return kNoSupport; }
  HRESULT CompareEntryIDs(ULONG, ENTRYID*, ULONG, ENTRYID*, ULONG, ULONG*) override { return kNoSupport; }
  HRESULT OpenEntry(ULONG, ENTRYID*, const ce::IID*, ULONG, ULONG*, ce::IUnknown**) override { return kNoSupport; }
  HRESULT SetReceiveFolder(ce::WCHAR*, ULONG, ULONG, ENTRYID*) override { return kNoSupport; }
  HRESULT GetReceiveFolder(ce::WCHAR*, ULONG, ULONG*, ENTRYID**, ce::WCHAR**) override { return kNoSupport; }
  HRESULT GetReceiveFolderTable(ULONG, ce::IMAPITable**) override { return kNoSupport; }
  HRESULT StoreLogoff(ULONG*) override { return kNoSupport; }
  HRESULT AbortSubmit(ULONG, ENTRYID*, ULONG) override { return kNoSupport; }
  HRESULT GetOutgoingQueue(ULONG, ce::IMAPITable**) override { return kNoSupport; }
  HRESULT SetLockState(ce::IMessage*, ULONG) override { return kNoSupport; }
  HRESULT FinishedMsg(ULONG, ULONG, ENTRYID*) override { return kNoSupport; }
  HRESULT NotifyNewMail(ce::NOTIFICATION*) override { return kNoSupport; }

 private:
  const std::int64_t m_account;
};

}  // namespace

ce::IMsgStore* NewMsgStore(Phone& phone, std::int64_t account) {
  if (!phone.store.Use([&](auto& db) { return SelectAccount(db, account); })) {
    throw Failure{static_cast<ce::DWORD>(ce::MAPI_E_NOT_FOUND)};
  }
  return new MsgStore(phone, account);
}

ce::IMAPITable* NewStoresTable(Phone& phone) {
  TableSource source;
  source.ids = [&phone](MessageOrder) { return phone.store.Use([](auto& db) { return SelectAccountIds(db); }); };
  source.read = [&phone](std::int64_t id) {
    return PropertiesOf(id, phone.store.Use([&](auto& db) { return SelectAccount(db, id); }));
  };
  return NewTable(phone, std::move(source));
}

}  // namespace handset
