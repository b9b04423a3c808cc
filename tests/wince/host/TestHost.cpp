// A host program's agent as a library of the phone, for the loader: it is built as a host program is, on the classes
// that the agent's library exports, and serves a listening socket that it is given.
#include <new>

#include "platform/Kernel.h"
#include "programs/host/HostProgram.h"
#include "programs/phone/ListeningConnection.h"

namespace {

constinit CHostProgram* g_host = nullptr;

}  // namespace

extern "C" ce::BOOL DllMain(ce::HANDLE /*instance*/, ce::DWORD /*reason*/, void* /*reserved*/) { return 1; }

// Takes over the socket. 0 when desktops are served from now on.
extern "C" ce::INT StartHost(ce::SOCKET listening) {
  auto* connection = new (std::nothrow) brelix_phone::CListeningConnection(listening);
  g_host = new (std::nothrow) CHostProgram;
  return connection != nullptr && connection->Construct() && g_host != nullptr && g_host->Start(connection) ? 0 : 1;
}

extern "C" void StopHost() {
  delete g_host;
  g_host = nullptr;
}
