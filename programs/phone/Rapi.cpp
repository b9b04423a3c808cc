#include <system_error>
#include <unistd.h>

#include "agent/engine/ErrorRecord.h"
#include "agent/host/RapiEntry.h"
#include "handset/Faults.h"
#include "handset/net/RapiStream.h"
#include "programs/phone/Commands.h"
#include "programs/phone/Session.h"
#include "programs/phone/hostile/LyingStream.h"

namespace brelix_phone {
namespace {

// The descriptor of standard output, which from now on carries frames only; what else is printed goes to standard
// error.
int TakeStandardOutput() {
  const int stream = dup(STDOUT_FILENO);
  if (stream < 0 || dup2(STDERR_FILENO, STDOUT_FILENO) < 0) {
    throw std::system_error(errno, std::generic_category(), "standard output");
  }
  return stream;
}

}  // namespace

int Rapi(const std::filesystem::path& folder, const RapiOptions& options) {
  const int out = TakeStandardOutput();
  OpenPhone phone(folder);
  if (options.noLog) phone->GetFaults().Add(handset::Call::fopen, {}, 0, handset::FaultRule::kAlways);
  const auto entry = reinterpret_cast<decltype(&BrelXferRAPI)>(phone.GetLibrary().GetProcAddress("BrelXferRAPI"));
  if (entry == nullptr) {
    throw std::runtime_error(
        "libBrelixEngine.so: BrelXferRAPI is not exported; is the library of this program's version?");
  }
  ce::IRAPIStream* stream = handset::NewDescriptorStream(STDIN_FILENO, out);
  if (const auto& [seed, verbose] = options.hostile; seed) {
    stream = hostile::NewLyingStream(stream, hostile::MakeLiar(*seed, verbose));
  }
  ce::DWORD outputSize = 0;
  ce::BYTE* output = nullptr;
  const ce::HRESULT result = entry(0, nullptr, &outputSize, &output, stream);
  if (result != 0) {
    ShowErrBox(u"BrelXferRAPI");
  }
  const bool clean = !options.checkLeaks || phone.CloseAndCheckLeaks();
  return result == 0 && clean ? kExitOk : kExitFailed;
}

}  // namespace brelix_phone
