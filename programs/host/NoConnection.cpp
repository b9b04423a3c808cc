// Until the agent has a connection of its own that a desktop can reach, the program has nothing to listen on, and says
// so.
#include "platform/User.h"
#include "programs/host/HostConnection.h"

CConnectionManager* NewHostConnection() {
  ce::MessageBoxW(ce::kNoWindow, u"This version has no connection that it could listen on.", u"BrelixHost",
                  ce::MB_OK | ce::MB_ICONERROR);
  return nullptr;
}
