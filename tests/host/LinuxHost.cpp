// The phone's host program as a Linux program over a phone in software: linux_host DIR. As the loader runs
// BrelixHost.exe, so that both can be compared: boxes on standard error, SIGTERM closes the box that says the agent
// runs, then what is still held. Exit code: the program's, or 1 when something is held.
#include <cstdio>
#include <optional>

#include "handset/Handset.h"
#include "handset/Ledger.h"
#include "handset/LibraryLoader.h"
#include "programs/host/HostConnection.h"
#include "programs/host/HostProgram.h"
#include "programs/phone/HeldBoxes.h"

int main(int argc, char** argv) {
  if (argc != 2) {
    std::fputs("usage: linux_host DIR\n", stderr);
    return 2;
  }
  try {
    const auto phone = handset::Handset::Open(argv[1]);
    const handset::CurrentPhone current(*phone);
    std::optional<handset::LoadedLibrary> library;
    library.emplace("libBrelixEngine.so", handset::LoadedLibrary::From::kProcess);
    const brelix_phone::EndSignals signals;
    phone->GetMessageBoxes().SetHold(brelix_phone::HoldUntil(signals));
    const int code = RunHost(NewHostConnection());
    library.reset();
    for (const std::string& line : phone->GetLedger().List()) std::fprintf(stderr, "still held: %s\n", line.c_str());
    return code == 0 && phone->GetLedger().Empty() ? 0 : 1;
  } catch (const std::exception& error) {
    std::fprintf(stderr, "%s\n", error.what());
    return 1;
  }
}
