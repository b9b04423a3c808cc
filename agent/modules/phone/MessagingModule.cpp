#include "agent/modules/phone/MessagingModule.h"

#include "agent/engine/ErrorRecord.h"

CMessagingModule::~CMessagingModule() {
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

void CMessagingModule::HandleCommand(std::int32_t /*command*/) { BeginReply(wire::kMessaging); }
