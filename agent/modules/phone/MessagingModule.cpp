// CMessagingModule: log-on, and what is selected.
#include "agent/modules/phone/MessagingModule.h"

#include "agent/engine/ErrorRecord.h"

CMessagingModule::~CMessagingModule() {
  CloseMessages();
  if (m_session != nullptr) {
    m_session->Logoff(0, 0, 0);
    m_session->Release();
  }
  ce::MAPIUninitialize();  // also after a log-on that failed, which has done so already
}

bool CMessagingModule::Construct() {
  ce::HRESULT result = ce::MAPIInitialize(nullptr);
  if (result < 0) {
    return Fail(u"MAPIInitialize", static_cast<std::uint32_t>(result));
  }
  result = ce::MAPILogonEx(0, nullptr, nullptr, 0, &m_session);
  if (result < 0) {
    Fail(u"MAPILogonEx", static_cast<std::uint32_t>(result));
    ce::MAPIUninitialize();
    return false;
  }
  return true;
}

void CMessagingModule::HandleCommand(std::int32_t command) {
  static constexpr Command<CMessagingModule> kCommands[] = {
      {1, &CMessagingModule::SelectAccount},  {3, &CMessagingModule::ClearAccount},
      {5, &CMessagingModule::SelectFolder},   {7, &CMessagingModule::ClearFolder},
      {9, &CMessagingModule::ListAccounts},   {11, &CMessagingModule::ListFolders},
      {13, &CMessagingModule::CountMessages}, {15, &CMessagingModule::ReadMessage},
      {17, &CMessagingModule::SendSms},       {19, &CMessagingModule::GetSmsStatus},
  };
  static_assert(Rises(kCommands, std::size(kCommands)));
  Dispatch(wire::kMessaging, kCommands, command);
}

// The next reading of messages begins at the newest one again.
void CMessagingModule::CloseMessages() {
  m_path.Close();
  m_reading = false;
}

void CMessagingModule::SelectAccount(CReplyWriter& reply) { Select(reply, m_account); }

void CMessagingModule::SelectFolder(CReplyWriter& reply) {
  if (m_account[0] == 0) {
    return reply.SendResult(wire::kResultRefused);
  }
  Select(reply, m_folder);
}

// Kept(name-length-must-agree): the name's bytes and its terminator must be exactly what the length field says.
// Chosen: a name that the member cannot hold is refused as well. What is read behind the frame while a length is found
// not to agree stays within the packet buffer: 256 units are at most 768 bytes.
void CMessagingModule::Select(CReplyWriter& reply, Name& name) {
  const std::uint8_t* data = m_pFrame + wire::kDataAt;
  Name converted;
  static_assert(wire::kDataAt + std::tuple_size_v<Name> * 3 < wire::kPacketBufSize);
  const std::uint32_t read = CAgentEngine::Utf8ToUtf16(data, converted.data(), converted.size());
  if (read + 1 != m_pEngine->GetPktDataLen() || data[read] != 0) {
    return reply.SendResult(wire::kResultRefused);
  }
  CloseMessages();
  name = converted;
  reply.SendResult(wire::kResultOk);
}

void CMessagingModule::ClearAccount(CReplyWriter& reply) {
  if (m_account[0] != 0) {
    CloseMessages();
    m_folder[0] = 0;
    m_account[0] = 0;
  }
  reply.SendResult(wire::kResultOk);
}

void CMessagingModule::ClearFolder(CReplyWriter& reply) {
  if (m_folder[0] != 0) {
    CloseMessages();
    m_folder[0] = 0;
  }
  reply.SendResult(wire::kResultOk);
}
