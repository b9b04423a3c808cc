#include "agent/host/RapiEntry.h"

#include <memory>
#include <new>

#include "agent/engine/AgentEngine.h"
#include "agent/transport/RapiStreamConnection.h"
#include "platform/Crt.h"

namespace {

constexpr ce::HRESULT kNotConstructed = -1;

std::unique_ptr<CAgentEngine> MakeEngine(ce::IRAPIStream* stream) {
  auto* connection = new (std::nothrow) CRapiStreamConnection(stream);
  if (connection == nullptr) {
    stream->Release();
    return nullptr;
  }
  std::unique_ptr<CAgentEngine> engine(new (std::nothrow) CAgentEngine(nullptr, connection));
  if (engine == nullptr) {
    delete connection;
    return nullptr;
  }
  return engine;
}

void LogEnd() {
  ce::FILE* log = ce::fopen("\\brelrapi.txt", "a");
  if (log != nullptr) {
    ce::fputs("engine terminated\n", log);
    ce::fclose(log);
  }
}

}  // namespace

ce::HRESULT BrelXferRAPI(ce::DWORD /*inputSize*/, ce::BYTE* /*input*/, ce::DWORD* /*outputSize*/, ce::BYTE** /*output*/,
                         ce::IRAPIStream* stream) {
  std::unique_ptr<CAgentEngine> engine = MakeEngine(stream);
  if (engine == nullptr || !engine->Construct()) {
    return kNotConstructed;
  }
  engine->Start();  // its result does not matter: a thread that cannot be resumed is waited for in vain, as ever
  engine->WaitForExit();
  engine.reset();
  LogEnd();
  return 0;
}
