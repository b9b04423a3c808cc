#include "agent/modules/phone/CallLogModule.h"

#include "agent/engine/ErrorRecord.h"
#include "platform/CallLog.h"

CCallLogModule::~CCallLogModule() {
  if (m_log != ce::kNoHandle) {
    ce::PhoneCloseCallLog(m_log);
  }
}

bool CCallLogModule::Construct() {
  const ce::HRESULT result = ce::PhoneOpenCallLog(&m_log);
  return result == ce::S_OK || Fail(u"PhoneOpenCallLog", static_cast<std::uint32_t>(result));
}

void CCallLogModule::HandleCommand(std::int32_t /*command*/) { BeginReply(wire::kCallLog); }
