// CAgentEngine, the owner's side: construction, start-up of the modules, start and stop.
#include <new>

#include "agent/engine/AgentEngine.h"
#include "agent/engine/ErrorRecord.h"
#include "agent/modules/phone/CallLogModule.h"
#include "agent/modules/phone/MessagingModule.h"
#include "agent/modules/pim/AgendaModule.h"
#include "agent/modules/pim/ContactsModule.h"
#include "agent/modules/system/SystemModule.h"
#include "agent/transport/ConnectionManager.h"
#include "platform/Tapi.h"
#include "platform/User.h"

namespace {

constexpr ce::DWORD kStopPollMilliseconds = 100;

constexpr char16_t kRadioOffQuestion[] =
    u"Seems like the phone radio is OFF.\n\nContinue with no radio?\n\n"
    u"(otherwise reply \"No\", turn the phone radio ON and restart this application)";

}  // namespace

CAgentEngine::CAgentEngine(CBrelixAgent* agent, CConnectionManager* connection)
    : m_agent(agent), m_connection(connection) {}

CAgentEngine::~CAgentEngine() {
  delete m_messaging;
  delete m_contacts;
  delete m_agenda;
  delete m_callLog;
  delete m_system;
  ShutdownPOOM();
  delete m_connection;
  if (m_thread != ce::kNoHandle) {
    ce::CloseHandle(m_thread);
  }
}

bool CAgentEngine::InitPOOM() {
  void* object = nullptr;
  ce::HRESULT result =
      ce::CoCreateInstance(ce::CLSID_Application, nullptr, ce::CLSCTX_INPROC_SERVER, ce::IID_IPOutlookApp, &object);
  if (result < 0) {
    return Fail(u"CoCreateInstance", static_cast<std::uint32_t>(result));
  }
  m_poom = static_cast<ce::IPOutlookApp*>(object);
  result = m_poom->Logon(0);
  if (result < 0) {
    m_poom->Release();
    m_poom = nullptr;
    return Fail(u"IPOutlookApp->Logon", static_cast<std::uint32_t>(result));
  }
  return true;
}

void CAgentEngine::ShutdownPOOM() {
  if (m_poom != nullptr) {
    m_poom->Logoff();
    m_poom->Release();
    m_poom = nullptr;
  }
}

bool CAgentEngine::Construct() {
  return InitPOOM() && StartSystemModule() && StartModule(m_callLog) && StartModule(m_agenda) &&
         StartModule(m_contacts) && StartModule(m_messaging) && CreateEngineThread();
}

// Creates a module and runs its start-up step. The module stays the engine's even when the step fails. Chosen: without
// memory for the module there is a record that says so.
template <class Module>
bool CAgentEngine::StartModule(Module*& module) {
  module = new (std::nothrow) Module(*this);
  return module != nullptr ? module->Construct() : Fail(u"operator new", static_cast<std::uint32_t>(ce::E_OUTOFMEMORY));
}

bool CAgentEngine::StartSystemModule() { return StartModule(m_system) || ContinueWithoutRadio(); }

// A phone whose radio is off can still be served: the user of a host program is asked, a synchronisation link is not.
bool CAgentEngine::ContinueWithoutRadio() {
  const CApiError* error = LastApiError();
  if (error == nullptr || error->GetCode() != static_cast<std::uint32_t>(ce::LINEERR_OPERATIONFAILED)) {
    return false;
  }
  if (m_agent != nullptr &&
      ce::MessageBoxW(ce::kNoWindow, kRadioOffQuestion, u"Question", ce::MB_YESNO | ce::MB_ICONQUESTION) != ce::IDYES) {
    return false;
  }
  DropLastApiError();
  return true;
}

bool CAgentEngine::CreateEngineThread() {
  m_thread = ce::CreateThread(nullptr, 0, &ThreadProc, this, ce::CREATE_SUSPENDED, nullptr);
  return m_thread != ce::kNoHandle || Fail(u"CreateThread", ce::GetLastError());
}

bool CAgentEngine::Start() {
  if (!m_connection->Start()) {
    return false;
  }
  return ce::ResumeThread(m_thread) != ce::kResumeFailed || Fail(u"ResumeThread", ce::GetLastError());
}

bool CAgentEngine::Stop() {
  SignalDone();
  if (!m_connection->Stop()) {
    return false;
  }
  while (ce::InterlockedExchangeAdd(&m_running, 0) != 0) {
    ce::Sleep(kStopPollMilliseconds);
  }
  return true;
}

void CAgentEngine::SignalDone() { ce::InterlockedExchange(&m_stopRequest, 1); }

void CAgentEngine::WaitForExit() { ce::WaitForSingleObject(m_thread, ce::INFINITE); }

ce::DWORD CAgentEngine::ThreadProc(void* engine) {
  auto* self = static_cast<CAgentEngine*>(engine);
  ce::InterlockedExchange(&self->m_running, 1);
  self->Run();
  ce::InterlockedExchange(&self->m_running, 0);
  return 0;
}

bool CAgentEngine::IsAllowed() const { return m_allowed; }
void CAgentEngine::SetAllowed(bool allowed) { m_allowed = allowed; }
bool CAgentEngine::IsOpened() const { return m_opened; }
void CAgentEngine::SetOpened(bool opened) { m_opened = opened; }
CBrelixAgent* CAgentEngine::GetAgent() const { return m_agent; }
ce::IPOutlookApp* CAgentEngine::GetPOOM() const { return m_poom; }
