#include "agent/modules/phone/CallLogModule.h"

#include "agent/engine/ErrorRecord.h"

CCallLogModule::~CCallLogModule() {
  if (m_log != ce::kNoHandle) {
    ce::PhoneCloseCallLog(m_log);
  }
}

bool CCallLogModule::Construct() {
  const ce::HRESULT result = ce::PhoneOpenCallLog(&m_log);
  return result == ce::S_OK || Fail(u"PhoneOpenCallLog", static_cast<std::uint32_t>(result));
}

void CCallLogModule::HandleCommand(std::int32_t command) {
  static constexpr Command<CCallLogModule> kCommands[] = {
      {1, &CCallLogModule::CountAndRewind}, {3, &CCallLogModule::First},    {5, &CCallLogModule::Last},
      {7, &CCallLogModule::Next},           {9, &CCallLogModule::Previous}, {41, &CCallLogModule::ReadEntry},
  };
  static_assert(Rises(kCommands, std::size(kCommands)));
  Dispatch(wire::kCallLog, kCommands, command);
}

// Kept(only-e-fail-fails-a-seek): any other code counts as a success, and a place that the phone did not tell stays
// what it was. A seek that fails leaves no count: the log is taken for empty.
bool CCallLogModule::Seek(ce::INT from, ce::DWORD index, ce::DWORD& reached) {
  if (ce::PhoneSeekCallLog(m_log, from, index, &reached) != ce::E_FAIL) {
    return true;
  }
  m_count = 0;
  return false;
}

// Kept(cursor-commands-always-succeed): the result is 0 even when the log is empty; desktops learn of it by the count.
void CCallLogModule::CountAndRewind(CReplyWriter& reply) {
  if (Seek(ce::CALLLOGSEEK_END, 0, m_count)) {
    ce::PhoneSeekCallLog(m_log, ce::CALLLOGSEEK_BEGINNING, 0, &m_position);
    ++m_position;
    ++m_count;
  } else {
    m_position = 0;
  }
  reply.U32(wire::kResultOk);
  reply.U16(static_cast<std::uint16_t>(m_count));
  reply.Send();
}

void CCallLogModule::First(CReplyWriter& reply) {
  m_position = Seek(ce::CALLLOGSEEK_BEGINNING, 0, m_position) ? 1 : 0;
  reply.SendResult(wire::kResultOk);
}

void CCallLogModule::Last(CReplyWriter& reply) {
  m_position = Seek(ce::CALLLOGSEEK_END, 0, m_position) ? m_position + 1 : 0;
  reply.SendResult(wire::kResultOk);
}

// Chosen: where the phone does not tell the place that it reached, it is the one that was asked for.
bool CCallLogModule::MoveTo(ce::DWORD index) {
  ce::DWORD reached = index;
  if (!Seek(ce::CALLLOGSEEK_BEGINNING, index, reached)) {
    return false;
  }
  m_position = reached + 1;
  return true;
}

void CCallLogModule::Next(CReplyWriter& reply) {
  reply.SendResult(m_position < m_count && MoveTo(m_position) ? wire::kResultOk : wire::kResultRefused);
}

// Kept(previous-stays): one is taken from a place that counts from 1 and the result used as one that counts from 0, so
// the cursor stays where it is; only the phone's own place is set to it again.
void CCallLogModule::Previous(CReplyWriter& reply) {
  const auto index = static_cast<std::int32_t>(m_position - 1);
  const bool moved = index > 0 && MoveTo(static_cast<ce::DWORD>(index));
  reply.SendResult(moved ? wire::kResultOk : wire::kResultRefused);
}
