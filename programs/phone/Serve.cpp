#include <cstdio>
#include <fmt/format.h>
#include <memory>

#include "agent/engine/AgentEngine.h"
#include "agent/engine/ErrorRecord.h"
#include "programs/phone/Commands.h"
#include "programs/phone/EndSignals.h"
#include "programs/phone/ListenAddress.h"
#include "programs/phone/ListeningConnection.h"
#include "programs/phone/Session.h"

namespace brelix_phone {
namespace {

class CConsoleAgent final : public CBrelixAgent {
 public:
  void Notify(std::uint32_t code) override {
    // Not fmt: on the engine's thread nothing may be thrown, not even when standard error is gone.
    std::fprintf(stderr, "brelix-phone: %s\n",
                 code == kConnectionAccepted ? "a desktop connected" : "the session ended");
  }
};

// False when the engine did not start; its error box was shown.
bool RunEngine(handset::Handset& phone, Listener& listener) {
  auto connection = std::make_unique<CListeningConnection>(phone.AdoptSocket(listener.Release()));
  if (!connection->Construct()) {
    ShowErrBox(u"CConnectionManager::Construct()");
    return false;
  }
  CConsoleAgent agent;
  const auto engine = std::make_unique<CAgentEngine>(&agent, connection.release());
  if (!engine->Construct()) {
    ShowErrBox(u"CAgentEngine::Construct()");
    return false;
  }
  const EndSignals signals;
  if (!engine->Start()) {
    ShowErrBox(u"CAgentEngine::Start()");
    return false;
  }
  fmt::print("listening on {}\n", listener.GetAddress());
  std::fflush(stdout);
  fmt::print(stderr, "brelix-phone: connect with: brelix -d {} info   (Ctrl-C ends)\n", listener.GetAddress());
  signals.WaitForOne();
  engine->Stop();
  engine->WaitForExit();
  return true;
}

}  // namespace

int Serve(const std::filesystem::path& folder, const ServeOptions& options) {
  OpenPhone phone(folder);
  Listener listener(options.listen, options.allowRemote);
  const bool served = RunEngine(*phone, listener);
  const bool clean = !options.checkLeaks || phone.CloseAndCheckLeaks();
  return served && clean ? kExitOk : kExitFailed;
}

}  // namespace brelix_phone
