// BrelixHost.exe: where the phone enters the program.
#include "programs/host/HostConnection.h"
#include "programs/host/HostProgram.h"

extern "C" ce::INT WinMainCRTStartup(ce::HINSTANCE /*instance*/, ce::HINSTANCE /*previous*/, ce::WCHAR* /*commandLine*/,
                                     ce::INT /*show*/) {
  return RunHost(NewHostConnection());
}
