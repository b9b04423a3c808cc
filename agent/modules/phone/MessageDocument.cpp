#include "agent/modules/phone/MessageDocument.h"

#include "agent/engine/DocumentLines.h"
#include "agent/modules/phone/AddressRule.h"
#include "agent/modules/phone/MailPath.h"
#include "agent/modules/phone/MapiData.h"
#include "platform/Kernel.h"

namespace {

void TextElement(CReplyWriter& reply, std::string_view name, std::u16string_view text) {
  document::Element(reply, name, [&] { reply.Utf8(text); });
}

// A column of the row, null when the message does not have the property.
const ce::SPropValue* Find(const ce::SRow& row, CMailPath::Column column, ce::ULONG tag) {
  return column < row.cValues && row.lpProps[column].ulPropTag == tag ? &row.lpProps[column] : nullptr;
}

// Chosen: a time that is none has zeros.
void Delivered(CReplyWriter& reply, const ce::FILETIME& utc) {
  ce::SYSTEMTIME time{};
  if (ce::FileTimeToSystemTime(&utc, &time) == 0) {
    time = {};
  }
  document::Element(reply, "time", [&] { reply.Timestamp(time); });
}

// Names and addresses, in the order of the rows and of the columns of each.
ce::HRESULT Recipients(CReplyWriter& reply, ce::IMessage& message) {
  CComReference<ce::IMAPITable> table;
  ce::HRESULT result = message.GetRecipientTable(0, table.Receive());
  while (result >= 0) {
    CTableRow rows;
    result = rows.ReadNext(*table);
    const ce::SRow* row = rows.Get();
    if (result < 0 || row == nullptr) {
      break;
    }
    for (ce::ULONG i = 0; i < row->cValues; ++i) {
      if (const auto name = TextOf(row->lpProps[i], ce::PR_DISPLAY_NAME)) {
        TextElement(reply, "recipient", *name);
      } else if (const auto address = TextOf(row->lpProps[i], ce::PR_EMAIL_ADDRESS)) {
        TextElement(reply, "phone_or_email", *address);
      }
    }
  }
  return result;
}

ce::HRESULT SenderAddress(CReplyWriter& reply, ce::IMessage& message) {
  CPropValue value;
  const ce::HRESULT result = value.Read(message, ce::PR_SENDER_EMAIL_ADDRESS);
  if (result >= 0 && value.Get() != nullptr) {
    if (const auto address = TextOf(*value.Get(), ce::PR_SENDER_EMAIL_ADDRESS)) {
      document::Element(reply, "phone_or_email", [&] { WriteAddress(reply, *address); });
    }
  }
  return result;
}

// What only the opened message tells.
ce::HRESULT Correspondents(CReplyWriter& reply, ce::IMAPIFolder& folder, const ce::SBinary& id, bool incoming) {
  CComReference<ce::IUnknown> entry;
  ce::ULONG type = 0;
  const ce::HRESULT result =
      folder.OpenEntry(id.cb, reinterpret_cast<ce::ENTRYID*>(id.lpb), nullptr, 0, &type, entry.Receive());
  if (result < 0) {
    return result;
  }
  CComReference<ce::IMessage> message;
  message.Take(std::move(entry));
  return incoming ? SenderAddress(reply, *message) : Recipients(reply, *message);
}

}  // namespace

// Kept(failed-call-loses-subject): when the message cannot be opened or asked, the document goes out all the same, with
// what was learnt until then and without the subject.
void WriteMessage(CReplyWriter& reply, ce::IMAPIFolder& folder, const ce::SRow& row) {
  reply.XmlHeader();
  reply.Text("<message>\n");
  const ce::SPropValue* sender = Find(row, CMailPath::kSender, ce::PR_SENDER_NAME);
  document::Element(reply, "direction", [&] { reply.Text(sender != nullptr ? "incoming" : "outgoing"); });
  if (const auto* time = Find(row, CMailPath::kDelivered, ce::PR_MESSAGE_DELIVERY_TIME)) {
    Delivered(reply, time->Value.ft);
  }
  if (sender != nullptr) {
    TextElement(reply, "sender", TextOf(*sender, ce::PR_SENDER_NAME).value_or(u""));
  }
  ce::HRESULT result = ce::S_OK;
  if (const auto* id = Find(row, CMailPath::kEntryId, ce::PR_ENTRYID)) {
    result = Correspondents(reply, folder, id->Value.bin, sender != nullptr);
  }
  const ce::SPropValue* subject = Find(row, CMailPath::kSubject, ce::PR_SUBJECT);
  if (result >= 0 && subject != nullptr) {
    const std::u16string_view text = TextOf(*subject, ce::PR_SUBJECT).value_or(u"");
    if (!text.empty()) {
      TextElement(reply, "subject", text);
    }
  }
  reply.Text("</message>");
}
