#include "wince/loader/Serve.h"

#include <string>
#include <unistd.h>

#include "handset/net/RapiStream.h"
#include "handset/system/MessageBoxes.h"
#include "programs/phone/EndSignals.h"
#include "programs/phone/HeldBoxes.h"
#include "programs/phone/ListenAddress.h"
#include "wince/loader/Crossing.h"
#include "wince/loader/Proxies.h"

namespace crossing {

namespace {

void* Exported(const Module& module, const char* name) {
  void* function = module.FindExport(name);
  if (function == nullptr) throw pe::PeError(std::string("export ") + name + ": missing");
  return function;
}

}  // namespace

bool ServeStream(const Module& library, int out) {
  const void* const entry = Exported(library, "BrelXferRAPI");
  const void* const showErrBox = Exported(library, "ShowErrBox");
  ce::DWORD outputSize = 0;
  ce::BYTE* output = nullptr;
  void* const stream = ToLibrary(handset::NewDescriptorStream(STDIN_FILENO, out));
  const auto result = Call<ce::HRESULT, ce::DWORD, ce::BYTE*, ce::DWORD*, ce::BYTE**, void*>(
      entry, 0, nullptr, &outputSize, &output, stream);
  if (result != 0) Call<void, const char16_t*>(showErrBox, u"BrelXferRAPI");
  return result == 0;
}

int RunProgram(Module& program, handset::Handset& phone) {
  const brelix_phone::EndSignals signals;
  phone.GetMessageBoxes().SetHold(brelix_phone::HoldUntil(signals));
  return program.Run();
}

bool ServeHost(const Module& host, handset::Handset& phone, const Options& options) {
  const void* const start = Exported(host, "StartHost");
  const void* const stop = Exported(host, "StopHost");
  const brelix_phone::EndSignals signals;
  brelix_phone::Listener listener(options.listen, false);
  const ce::SOCKET listening = phone.AdoptSocket(listener.Release());
  const bool started = Call<ce::INT, ce::SOCKET>(start, listening) == 0;
  if (started) signals.WaitForOne();
  Call<void>(stop);
  return started;
}

}  // namespace crossing
