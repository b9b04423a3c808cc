// CAgentEngine, the engine thread: waiting for a desktop, serving its session, reading and writing frames.
#include <span>

#include "agent/engine/AgentEngine.h"
#include "agent/engine/ErrorRecord.h"
#include "agent/engine/ReplyWriter.h"
#include "agent/modules/phone/CallLogModule.h"
#include "agent/modules/phone/MessagingModule.h"
#include "agent/modules/pim/AgendaModule.h"
#include "agent/modules/pim/ContactsModule.h"
#include "agent/modules/system/SystemModule.h"
#include "agent/transport/ConnectionManager.h"

namespace {

constexpr ce::DWORD kIdleMilliseconds = 100;

}  // namespace

// Whether a stop was requested; asking takes the request away.
bool CAgentEngine::TakeStopRequest() { return ce::InterlockedExchange(&m_stopRequest, 0) != 0; }

void CAgentEngine::Run() {
  while (!TakeStopRequest()) {
    switch (WaitForDesktop()) {
      case Wait::kEnded:
        return;
      case Wait::kDesktop:
        ServeSession();
        break;
      case Wait::kNothing:
        break;
    }
  }
}

CAgentEngine::Wait CAgentEngine::WaitForDesktop() {
  if (m_agent == nullptr) {
    return Wait::kDesktop;
  }
  switch (m_connection->CheckListeningSocket()) {
    case -1:
      ShowErrBox(u"CConnectionManager::CheckListeningSocket()");
      return Wait::kNothing;
    case 0:
      ce::Sleep(kIdleMilliseconds);
      return Wait::kNothing;
    default:
      break;
  }
  switch (m_connection->AcceptConnection()) {
    case 0:
      m_agent->Notify(CBrelixAgent::kConnectionAccepted);
      return Wait::kDesktop;
    case ce::WSAEINTR:
      return Wait::kEnded;
    default:
      ShowErrBox(u"CConnectionManager::AcceptConnection()");
      return Wait::kNothing;
  }
}

void CAgentEngine::ServeSession() {
  do {
    if (TakeStopRequest()) {
      SignalDone();  // still to be seen by the loop over sessions
      break;
    }
  } while (ServeOnce());
  EndSession();
}

// Kept(bytes-survive-session): what was received and not consumed stays for the next session.
void CAgentEngine::EndSession() {
  m_opened = false;
  m_allowed = false;
  m_connection->CloseExchangeSocket();
  if (m_agent != nullptr) {
    m_agent->Notify(CBrelixAgent::kSessionEnded);
  }
}

// One read and at most one request. False ends the session.
// Kept(one-frame-per-read): a second frame that came with the same read is looked at only after a read that brings
// more.
bool CAgentEngine::ServeOnce() {
  switch (ReadMore()) {
    case ReadResult::kSessionOver:
      return false;
    case ReadResult::kNothing:
      return true;
    case ReadResult::kBytes:
      break;
  }
  if (m_receive.Held() < wire::kShortestFrame) {
    ce::Sleep(kIdleMilliseconds);
    return true;
  }
  if (!CheckPacket()) {
    return true;
  }
  Dispatch();
  CompleteReply();
  return WriteReply();
}

CAgentEngine::ReadResult CAgentEngine::ReadMore() {
  const std::span<std::uint8_t> room = m_receive.Room();
  auto size = static_cast<std::int32_t>(room.size());
  if (m_agent == nullptr) {
    // A read of the remote-API stream waits until it is satisfied: ask only for what a frame is certain to have.
    const std::uint32_t held = m_receive.Held();
    size = held < wire::kShortestFrame ? static_cast<std::int32_t>(wire::kShortestFrame - held) : 1;
  }
  std::int32_t count = 0;
  if (!m_connection->Read(room.data(), count, size)) {
    return ReadFailed();
  }
  if (count == CConnectionManager::kConnectionClosed) {
    ConnectionClosed();
    return ReadResult::kSessionOver;
  }
  if (count == 0) {
    ce::Sleep(kIdleMilliseconds);
    return ReadResult::kNothing;
  }
  m_receive.Received(static_cast<std::uint32_t>(count));
  return ReadResult::kBytes;
}

// Kept(failed-read-swallows-stop): a read that fails because Stop closed the socket ends the session quietly, and the
// stop request is spent on it; the loop over sessions goes on.
CAgentEngine::ReadResult CAgentEngine::ReadFailed() {
  if (LastApiError() == nullptr) {
    return ReadResult::kNothing;
  }
  if (TakeStopRequest()) {
    DropLastApiError();
    return ReadResult::kSessionOver;
  }
  ShowErrBox(u"CConnectionManager::Read()");
  return ReadResult::kNothing;
}

// Without an agent there is one session only: the thread ends with it.
void CAgentEngine::ConnectionClosed() {
  if (m_agent == nullptr) {
    SignalDone();
  }
}

void CAgentEngine::Dispatch() {
  m_outBufLen = 0;
  const auto command = static_cast<std::int32_t>(m_command);
  if (!m_allowed && !(m_moduleId == wire::kSystem && command == wire::kHandshakeCommand)) {
    Refuse();
    return;
  }
  if (m_moduleId == wire::kSystem) {
    m_system->HandleCommand(command);
    return;
  }
  if (!m_opened) {
    return;
  }
  switch (m_moduleId) {
    case wire::kContacts:
      return m_contacts->HandleCommand(command);
    case wire::kAgenda:
      return m_agenda->HandleCommand(command);
    case wire::kCallLog:
      return m_callLog->HandleCommand(command);
    case wire::kMessaging:
      return m_messaging->HandleCommand(command);
    default:
      return;
  }
}

// The answer to anything but the handshake before the session is allowed: the request's head, and no data.
void CAgentEngine::Refuse() {
  ++m_command;
  CReplyWriter reply({GetOutBuf(), wire::kBodyRoom}, m_outBufLen);
  reply.ModuleId(static_cast<std::uint16_t>(m_moduleId));
  reply.Command(static_cast<std::uint16_t>(m_command));
  reply.Send();
}

// Kept(half-write): when a write takes exactly half of what was asked for, writing stops there and the desktop gets
// that half only. It looks like a wrong comparison; do not complete the frame. Kept(repeated-write-restarts): a write
// after a partial one sends from the start of the frame again, as many bytes as are still owed.
bool CAgentEngine::WriteReply() {
  for (;;) {
    std::int32_t written = 0;
    if (!m_connection->Write(m_outBuf.data(), written, static_cast<std::int32_t>(m_outBufLen))) {
      ShowErrBox(u"CConnectionManager::Write()");
      return written != CConnectionManager::kConnectionClosed;
    }
    if (written == CConnectionManager::kConnectionClosed) {
      ConnectionClosed();
      return false;
    }
    m_outBufLen -= static_cast<std::uint32_t>(written);
    if (m_outBufLen == 0 || static_cast<std::uint32_t>(written) == m_outBufLen) {
      return true;
    }
  }
}
