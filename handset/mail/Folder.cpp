#include "handset/mail/Objects.h"
#include "handset/mail/PropertyObject.h"
#include "handset/mail/Table.h"

namespace handset {

namespace {

using ce::ENTRYID;
using ce::HRESULT;
using ce::IID;
using ce::ULONG;

Properties FolderRow(SQLite::Database& database, std::int64_t id) {
  Properties properties;
  const std::optional<MailFolder> folder = SelectFolder(database, id);
  if (!folder) return properties;
  Add(properties, ce::PR_DISPLAY_NAME, folder->name);
  properties.emplace_back(ce::PR_ENTRYID, ToBytes({EntryKind::kFolder, id}));
  return properties;
}

Properties MessageRow(SQLite::Database& database, std::int64_t id) {
  Properties properties;
  const std::optional<MailMessage> message = SelectMessage(database, id);
  if (!message) return properties;
  Add(properties, ce::PR_SENDER_NAME, message->senderName);
  Add(properties, ce::PR_SUBJECT, message->subject);
  if (message->delivered) {
    properties.emplace_back(ce::PR_MESSAGE_DELIVERY_TIME, FileTimeValue{*message->delivered});
  }
  if (message->hasEntryId) properties.emplace_back(ce::PR_ENTRYID, ToBytes({EntryKind::kMessage, id}));
  return properties;
}

class Folder final : public PropertyObject<Folder, ce::IMAPIFolder> {
 public:
  static constexpr const char* kName = "IMAPIFolder";
  static constexpr Call kRelease = Call::IMAPIFolder_Release;
  static constexpr Call kGetProps = Call::IMAPIFolder_GetProps;

  Folder(Phone& phone, std::int64_t account, std::int64_t folder)
      : PropertyObject(phone), m_account(account), m_folder(folder) {}

  Properties ReadProperties() {
    return GetPhone().store.Use([&](auto& database) {
      Properties properties = FolderRow(database, m_folder);
      const std::optional<MailFolder> folder = SelectFolder(database, m_folder);
      if (folder && folder->tellsCount) {
        const std::uint32_t count = folder->reportedCount.value_or(CountMessages(database, m_folder));
        properties.emplace_back(ce::PR_CONTENT_COUNT, static_cast<std::int32_t>(count));
      }
      return properties;
    });
  }

  HRESULT GetContentsTable(ULONG, ce::IMAPITable** table) override {
    return Enter<Call::IMAPIFolder_GetContentsTable>(GetPhone(), [&] {
      if (table == nullptr) return ce::E_INVALIDARG;
      Phone& phone = GetPhone();
      TableSource source;
      source.sorts = true;
      source.ids = [&phone, folder = m_folder](MessageOrder order) {
        return phone.store.Use([&](auto& database) { return SelectMessageIds(database, folder, order); });
      };
      source.read = [&phone](std::int64_t id) {
        return phone.store.Use([&](auto& database) { return MessageRow(database, id); });
      };
      *table = NewTable(phone, std::move(source));
      return ce::S_OK;
    });
  }

  HRESULT GetHierarchyTable(ULONG, ce::IMAPITable** table) override {
    return Enter<Call::IMAPIFolder_GetHierarchyTable>(GetPhone(), [&] {
      if (table == nullptr) return ce::E_INVALIDARG;
      Phone& phone = GetPhone();
      TableSource source;
      source.ids = [&phone, account = m_account, folder = m_folder](MessageOrder) {
        return phone.store.Use([&](auto& database) { return SelectFolderIds(database, account, folder); });
      };
      source.read = [&phone](std::int64_t id) {
        return phone.store.Use([&](auto& database) { return FolderRow(database, id); });
      };
      *table = NewTable(phone, std::move(source));
      return ce::S_OK;
    });
  }

  HRESULT OpenEntry(ULONG idSize, ENTRYID* id, const IID*, ULONG, ULONG* type, ce::IUnknown** object) override {
    return Enter<Call::IMAPIFolder_OpenEntry>(GetPhone(),
                                              [&] { return handset::OpenEntry(GetPhone(), idSize, id, type, object); });
  }

  HRESULT SetSearchCriteria(ce::SRestriction*, ce::ENTRYLIST*, ULONG) override { return kNoSupport; }
  HRESULT GetSearchCriteria(ULONG, ce::SRestriction**, ce::ENTRYLIST**, ULONG*) override { return kNoSupport; }
  HRESULT CreateMessage(const IID*, ULONG, ce::IMessage**) override { return kNoSupport; }
  HRESULT CopyMessages(ce::ENTRYLIST*, const IID*, void*, ULONG, ce::IMAPIProgress*, ULONG) override {
    return kNoSupport;
  }
  HRESULT DeleteMessages(ce::ENTRYLIST*, ULONG, ce::IMAPIProgress*, ULONG) override { return kNoSupport; }
  HRESULT CreateFolder(ULONG, ce::WCHAR*, ce::WCHAR*, const IID*, ULONG, ce::IMAPIFolder**) override {
    return kNoSupport;
  }
  HRESULT CopyFolder(ULONG, ENTRYID*, const IID*, void*, ce::WCHAR*, ULONG, ce::IMAPIProgress*, ULONG) override {
    return kNoSupport;
  }
  HRESULT DeleteFolder(ULONG, ENTRYID*, ULONG, ce::IMAPIProgress*, ULONG) override { return kNoSupport; }
  HRESULT SetReadFlags(ce::ENTRYLIST*, ULONG, ce::IMAPIProgress*, ULONG) override { return kNoSupport; }
  HRESULT GetMessageStatus(ULONG, ENTRYID*, ULONG, ULONG*) override { return kNoSupport; }
  HRESULT SetMessageStatus(ULONG, ENTRYID*, ULONG, ULONG, ULONG*) override { return kNoSupport; }
  HRESULT SaveContentsSort(ce::SSortOrderSet*, ULONG) override { return kNoSupport; }
  HRESULT EmptyFolder(ULONG, ce::IMAPIProgress*, ULONG) override { return kNoSupport; }

 private:
  const std::int64_t m_account;
  const std::int64_t m_folder;
};

}  // namespace

ce::IMAPIFolder* NewFolder(Phone& phone, std::int64_t account, std::int64_t folder) {
  const bool there = phone.store.Use([&](auto& database) {
    return folder == 0 ? SelectAccount(database, account).has_value() : SelectFolder(database, folder).has_value();
  });
  if (!there) throw Failure{static_cast<ce::DWORD>(ce::MAPI_E_NOT_FOUND)};
  return new Folder(phone, account, folder);
}

}  // namespace handset
