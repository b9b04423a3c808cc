#include "programs/host/HostProgram.h"

#include <new>

#include "agent/engine/ErrorRecord.h"
#include "agent/transport/ConnectionManager.h"
#include "platform/User.h"

namespace {

constexpr char16_t kTitle[] = u"BrelixEngine";
constexpr char16_t kRunning[] = u"The agent is running.\n\nClose this box to end it.";

}  // namespace

bool CHostProgram::Start(CConnectionManager* connection) {
  m_engine = new (std::nothrow) CAgentEngine(this, connection);
  if (m_engine == nullptr) {
    ShowErrBox(u"CHostProgram::Start()");
    delete connection;
    return false;
  }
  if (m_engine->Construct() && m_engine->Start()) {
    return true;
  }
  ShowErrBox(u"CAgentEngine::Construct()");
  delete m_engine;
  m_engine = nullptr;
  return false;
}

void CHostProgram::Stop() {
  if (m_engine == nullptr) {
    return;
  }
  if (!m_engine->Stop()) {
    ShowErrBox(u"CAgentEngine::Stop()");
  }
  m_engine->WaitForExit();
  delete m_engine;
  m_engine = nullptr;
}

// Desktops come and go without the user.
void CHostProgram::Notify(std::uint32_t /*code*/) {}

int RunHost(CConnectionManager* connection) {
  CHostProgram host;
  if (connection == nullptr || !host.Start(connection)) {
    return 1;
  }
  ce::MessageBoxW(ce::kNoWindow, kRunning, kTitle, ce::MB_OK);
  host.Stop();
  return 0;
}
