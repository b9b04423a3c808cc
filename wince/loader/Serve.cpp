#include "wince/loader/Serve.h"

#include <cerrno>
#include <csignal>
#include <cstring>
#include <stdexcept>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include "handset/RapiStream.h"
#include "wince/loader/Crossing.h"
#include "wince/loader/Proxies.h"

namespace crossing {

namespace {

void* Exported(const Module& module, const char* name) {
  void* function = module.FindExport(name);
  if (function == nullptr) throw pe::PeError(std::string("export ") + name + ": missing");
  return function;
}

int ListenAt(const std::string& path) {
  sockaddr_un name{};
  name.sun_family = AF_UNIX;
  if (path.size() >= sizeof name.sun_path) throw std::runtime_error(path + ": too long for a socket's path");
  std::memcpy(name.sun_path, path.c_str(), path.size() + 1);
  const int listening = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
  if (listening < 0 || bind(listening, reinterpret_cast<const sockaddr*>(&name), sizeof name) != 0 ||
      listen(listening, 4) != 0) {
    throw std::runtime_error("cannot listen at " + path + ": " + std::strerror(errno));
  }
  return listening;
}

// SIGINT and SIGTERM wait for WaitForOne, in every thread created from here on.
class EndSignals {
 public:
  EndSignals() {
    sigemptyset(&m_set);
    sigaddset(&m_set, SIGINT);
    sigaddset(&m_set, SIGTERM);
    pthread_sigmask(SIG_BLOCK, &m_set, nullptr);
  }
  void WaitForOne() const {
    int received = 0;
    sigwait(&m_set, &received);
  }

 private:
  sigset_t m_set{};
};

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

bool ServeHost(const Module& host, handset::Handset& phone, const Options& options) {
  const void* const start = Exported(host, "StartHost");
  const void* const stop = Exported(host, "StopHost");
  const std::string path = options.listen.substr(options.listen.find(':') + 1);
  const EndSignals signals;
  const ce::SOCKET listening = phone.AdoptSocket(ListenAt(path));
  const bool started = Call<ce::INT, ce::SOCKET>(start, listening) == 0;
  if (started) signals.WaitForOne();
  Call<void>(stop);
  unlink(path.c_str());
  return started;
}

}  // namespace crossing
