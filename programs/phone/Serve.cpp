#include <cstdio>
#include <fmt/format.h>
#include <memory>

#include "agent/engine/AgentEngine.h"
#include "agent/engine/ErrorRecord.h"
#include "handset/radio/BluezRadio.h"
#include "handset/radio/ScriptedRadio.h"
#include "programs/host/BluetoothHostConnection.h"
#include "programs/phone/Commands.h"
#include "programs/phone/EndSignals.h"
#include "programs/phone/ListenAddress.h"
#include "programs/phone/ListeningConnection.h"
#include "programs/phone/Session.h"
#include "programs/phone/hostile/HostileConnection.h"

namespace brelix_phone {
namespace {

constexpr const char* kBluetooth = "bluetooth";
constexpr const char* kScriptedBluetooth = "bluetooth:scripted";

class CConsoleAgent final : public CBrelixAgent {
 public:
  void Notify(std::uint32_t code) override {
    // Not fmt: on the engine's thread nothing may be thrown, not even when standard error is gone.
    std::fprintf(stderr, "brelix-phone: %s\n",
                 code == kConnectionAccepted ? "a desktop connected" : "the session ended");
  }
};

// Serves over a connection that listens, until a signal. False when the engine did not start; its error box was shown.
// hint: how a desktop reaches it.
bool RunEngine(std::unique_ptr<CConnectionManager> connection, const std::string& address, const std::string& hint,
               const EndSignals& signals) {
  CConsoleAgent agent;
  const auto engine = std::make_unique<CAgentEngine>(&agent, connection.release());
  if (!engine->Construct()) {
    ShowErrBox(u"CAgentEngine::Construct()");
    return false;
  }
  if (!engine->Start()) {
    ShowErrBox(u"CAgentEngine::Start()");
    return false;
  }
  fmt::print("listening on {}\n", address);
  std::fflush(stdout);
  fmt::print(stderr, "brelix-phone: connect with: brelix -d {} info   (Ctrl-C ends)\n", hint);
  signals.WaitForOne();
  engine->Stop();
  engine->WaitForExit();
  return true;
}

bool ServeSocket(OpenPhone& phone, const ServeOptions& options) {
  Listener listener(options.listen, options.allowRemote);
  const ce::SOCKET socket = phone->AdoptSocket(listener.Release());
  std::unique_ptr<CListeningConnection> connection;
  if (const auto& [seed, verbose] = options.hostile; seed) {
    connection = std::make_unique<hostile::CHostileConnection>(socket, hostile::MakeLiar(*seed, verbose));
  } else {
    connection = std::make_unique<CListeningConnection>(socket);
  }
  if (!connection->Construct()) {
    ShowErrBox(u"CConnectionManager::Construct()");
    return false;
  }
  const EndSignals signals;
  return RunEngine(std::move(connection), listener.GetAddress(), listener.GetAddress(), signals);
}

// The system's radio in the phone's; returns its address.
std::string UseSystemRadio(OpenPhone& phone, bool insecure) {
  handset::BluezOptions options;
  options.insecure = insecure;
  options.report = [](const std::string& line) { std::fprintf(stderr, "brelix-phone: %s\n", line.c_str()); };
  handset::BluezPlace place = handset::OpenBluez(std::move(options));
  fmt::print(stderr, "brelix-phone: desktops find this phone as \"{}\"\n", place.name);
  phone->UseRadio(std::move(place.radio));
  return "bluetooth:" + place.address;
}

bool ServeBluetooth(OpenPhone& phone, const std::filesystem::path& folder, const ServeOptions& options) {
  // From the start: what the radio changes of the system is to be undone.
  const EndSignals signals;
  std::string radio;
  if (options.listen == kBluetooth) {
    radio = UseSystemRadio(phone, options.insecure);
  } else {
    phone->UseRadio(handset::RadioProvider::kScripted);
  }
  auto connection = std::make_unique<CBluetoothHostConnection>();
  if (!connection->Construct()) {
    ShowErrBox(u"CBluetoothConnection::Construct()");
    return false;
  }
  const std::uint32_t channel = CBluetoothConnection::abSdpRecord[CBluetoothConnection::idxPortNum];
  fmt::print(stderr, "brelix-phone: serial-port service \"Brelix SPP\" on channel {}\n", channel);
  if (radio.empty()) {
    const std::string address = "unix:" + handset::ChannelSocket(folder, channel).string();
    return RunEngine(std::move(connection), address, address, signals);
  }
  // Desktops look the channel up.
  return RunEngine(std::move(connection), fmt::format("{}/{}", radio, channel), radio, signals);
}

}  // namespace

int Serve(const std::filesystem::path& folder, const ServeOptions& options) {
  const bool bluetooth = options.listen == kBluetooth || options.listen == kScriptedBluetooth;
  if (options.insecure && options.listen != kBluetooth) {
    throw std::invalid_argument("--insecure is for --listen bluetooth");
  }
  if (options.hostile.seed && bluetooth) throw std::invalid_argument("--hostile is for tcp: and unix: addresses");
  OpenPhone phone(folder);
  const bool served = bluetooth ? ServeBluetooth(phone, folder, options) : ServeSocket(phone, options);
  const bool clean = !options.checkLeaks || phone.CloseAndCheckLeaks();
  return served && clean ? kExitOk : kExitFailed;
}

}  // namespace brelix_phone
