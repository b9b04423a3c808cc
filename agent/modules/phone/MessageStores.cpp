// CMessagingModule: accounts, folders and their messages.
#include "agent/engine/DocumentLines.h"
#include "agent/modules/phone/MapiData.h"
#include "agent/modules/phone/MessageDocument.h"
#include "agent/modules/phone/MessagingModule.h"

namespace {

constexpr PropTags kName{1, ce::PR_DISPLAY_NAME};

// A document of the names in a table, or the code of the call that failed. Chosen: a row that has no name is left out.
void SendNames(CReplyWriter& reply, std::string_view root, ce::IMAPITable& table) {
  reply.U32(wire::kResultOk);
  reply.XmlHeader();
  reply.Text("<");
  reply.Text(root);
  reply.Text(">\n");
  ce::HRESULT result = table.SetColumns(kName.Get(), 0);
  while (result >= 0) {
    CTableRow rows;
    result = rows.ReadNext(table);
    const ce::SRow* row = rows.Get();
    if (result < 0 || row == nullptr || row->cValues != 1) {
      break;
    }
    if (const auto name = TextOf(row->lpProps[0], ce::PR_DISPLAY_NAME)) {
      document::Element(reply, "name", [&] { reply.Utf8(*name); });
    }
  }
  if (result < 0) {
    return reply.SendResult(OutcomeOf(result));
  }
  reply.Text("</");
  reply.Text(root);
  reply.Text(">");
  reply.Send();
}

}  // namespace

void CMessagingModule::ListAccounts(CReplyWriter& reply) {
  CloseMessages();
  CComReference<ce::IMAPITable> stores;
  const std::uint32_t outcome = OutcomeOf(m_session->GetMsgStoresTable(0, stores.Receive()));
  if (outcome != 0) {
    return reply.SendResult(outcome);
  }
  SendNames(reply, "accounts", *stores);
}

void CMessagingModule::ListFolders(CReplyWriter& reply) {
  if (m_account[0] == 0) {
    return reply.SendResult(wire::kResultRefused);
  }
  CloseMessages();
  CMailPath path;
  const std::uint32_t outcome = path.OpenFolderList(*m_session, m_account.data());
  if (outcome != 0) {
    return reply.SendResult(outcome);
  }
  SendNames(reply, "folders", *path.hierarchy);
}

void CMessagingModule::CountMessages(CReplyWriter& reply) {
  if (!HasFolder()) {
    return reply.SendResult(wire::kResultRefused);
  }
  CloseMessages();
  CMailPath path;
  CPropValue count;
  std::uint32_t outcome = path.OpenFolder(*m_session, m_account.data(), m_folder.data());
  if (outcome == 0) {
    outcome = ReadNeeded(*path.folder, ce::PR_CONTENT_COUNT, count);
  }
  if (outcome != 0) {
    return reply.SendResult(outcome);
  }
  reply.U32(wire::kResultOk);
  reply.U16(static_cast<std::uint16_t>(count.Get()->Value.l));
  reply.Send();
}

void CMessagingModule::ReadMessage(CReplyWriter& reply) {
  if (!HasFolder()) {
    CloseMessages();
    return reply.SendResult(wire::kResultRefused);
  }
  if (!m_reading) {
    const std::uint32_t outcome = m_path.OpenMessages(*m_session, m_account.data(), m_folder.data());
    if (outcome != 0) {
      CloseMessages();
      return reply.SendResult(outcome);
    }
    m_reading = true;
  }
  CTableRow rows;
  const std::uint32_t outcome = OutcomeOf(rows.ReadNext(*m_path.contents));
  if (outcome != 0) {
    return reply.SendResult(outcome);  // the messages stay open, and the next one can be tried
  }
  const ce::SRow* row = rows.Get();
  if (row == nullptr) {
    return reply.SendResult(kNothingFound);
  }
  reply.U32(wire::kResultOk);
  WriteMessage(reply, *m_path.folder, *row);
  reply.Send();
}
