#include "handset/mail/Objects.h"
#include "handset/mail/PropertyObject.h"
#include "handset/mail/Table.h"

namespace handset {

namespace {

using ce::HRESULT;
using ce::IID;
using ce::ULONG;

// Columns of a recipient's row that a phone has beside name and address.
constexpr ULONG PR_ROWID = 0x30000003;
constexpr ULONG PR_RECIPIENT_TYPE = 0x0C150003;
constexpr std::int32_t MAPI_TO = 1;

Properties RecipientRow(SQLite::Database& database, std::int64_t id) {
  Properties properties;
  const std::optional<MailRecipient> recipient = SelectRecipient(database, id);
  if (!recipient) return properties;
  properties.emplace_back(PR_ROWID, static_cast<std::int32_t>(id));
  if (recipient->addressFirst) Add(properties, ce::PR_EMAIL_ADDRESS, recipient->address);
  Add(properties, ce::PR_DISPLAY_NAME, recipient->name);
  if (!recipient->addressFirst) Add(properties, ce::PR_EMAIL_ADDRESS, recipient->address);
  properties.emplace_back(PR_RECIPIENT_TYPE, MAPI_TO);
  return properties;
}

class Message final : public PropertyObject<Message, ce::IMessage> {
 public:
  static constexpr const char* kName = "IMessage";
  static constexpr Call kRelease = Call::IMessage_Release;
  static constexpr Call kGetProps = Call::IMessage_GetProps;

  Message(Phone& phone, std::int64_t message) : PropertyObject(phone), m_message(message) {}

  Properties ReadProperties() {
    const auto message = GetPhone().store.Use([&](auto& database) { return SelectMessage(database, m_message); });
    Properties properties;
    if (!message) return properties;
    Add(properties, ce::PR_SENDER_NAME, message->senderName);
    Add(properties, ce::PR_SENDER_EMAIL_ADDRESS, message->senderAddress);
    Add(properties, ce::PR_SUBJECT, message->subject);
    return properties;
  }

  HRESULT GetRecipientTable(ULONG, ce::IMAPITable** table) override {
    return Enter<Call::IMessage_GetRecipientTable>(GetPhone(), [&] {
      if (table == nullptr) return ce::E_INVALIDARG;
      Phone& phone = GetPhone();
      TableSource source;
      source.ids = [&phone, message = m_message](MessageOrder) {
        return phone.store.Use([&](auto& database) { return SelectRecipientIds(database, message); });
      };
      source.read = [&phone](std::int64_t id) {
        return phone.store.Use([&](auto& database) { return RecipientRow(database, id); });
      };
      *table = NewTable(phone, std::move(source));
      return ce::S_OK;
    });
  }

  HRESULT GetAttachmentTable(ULONG, ce::IMAPITable**) override { return kNoSupport; }
  HRESULT OpenAttach(ULONG, const IID*, ULONG, ce::IAttach**) override { return kNoSupport; }
  HRESULT CreateAttach(const IID*, ULONG, ULONG*, ce::IAttach**) override { return kNoSupport; }
  HRESULT DeleteAttach(ULONG, ULONG, ce::IMAPIProgress*, ULONG) override { return kNoSupport; }
  HRESULT ModifyRecipients(ULONG, ce::ADRLIST*) override { return kNoSupport; }
  HRESULT SubmitMessage(ULONG) override { return kNoSupport; }
  HRESULT SetReadFlag(ULONG) override { return kNoSupport; }

 private:
  const std::int64_t m_message;
};

}  // namespace

ce::IMessage* NewMessage(Phone& phone, std::int64_t message) {
  if (!phone.store.Use([&](auto& database) { return SelectMessage(database, message); })) {
    throw Failure{static_cast<ce::DWORD>(ce::MAPI_E_NOT_FOUND)};
  }
  return new Message(phone, message);
}

ce::HRESULT OpenEntry(Phone& phone, ULONG idSize, const ce::ENTRYID* id, ULONG* type, ce::IUnknown** object) {
  if (object == nullptr) return ce::E_INVALIDARG;
  *object = nullptr;
  const std::optional<EntryId> entry = ReadEntryId(idSize, id);
  if (!entry) return kInvalidEntryId;
  ULONG opened = 0;
  if (entry->kind == EntryKind::kRoot) {
    *object = NewFolder(phone, entry->id, 0);
    opened = ce::MAPI_FOLDER;
  } else if (entry->kind == EntryKind::kFolder) {
    const auto account = phone.store.Use([&](auto& database) { return SelectAccountOf(database, entry->id); });
    *object = NewFolder(phone, account, entry->id);
    opened = ce::MAPI_FOLDER;
  } else if (entry->kind == EntryKind::kMessage) {
    *object = NewMessage(phone, entry->id);
    opened = ce::MAPI_MESSAGE;
  } else {
    return kInvalidEntryId;
  }
  if (type != nullptr) *type = opened;
  return ce::S_OK;
}

}  // namespace handset
