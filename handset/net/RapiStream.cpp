#include "handset/net/RapiStream.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <poll.h>
#include <sys/socket.h>

#include "handset/com/ComObject.h"
#include "handset/net/UniqueFd.h"

namespace handset {

namespace {

using ce::E_NOTIMPL;
using ce::HRESULT;
using ce::S_OK;
using ce::ULONG;

class DescriptorStream final : public ComObject<DescriptorStream, ce::IRAPIStream> {
 public:
  static constexpr const char* kName = "IRAPIStream";
  static constexpr Call kRelease = Call::IRAPIStream_Release;
  static bool Answers(const ce::IID&) { return false; }

  DescriptorStream(Phone& phone, int in, int out)
      : ComObject(phone), m_in(in), m_out(out), m_ownedIn(in), m_ownedOut(out == in ? -1 : out) {}

  HRESULT Read(void* buffer, ULONG size, ULONG* read) override {
    return Enter<Call::IRAPIStream_Read>(GetPhone(), [&] {
      if (buffer == nullptr) return ce::E_POINTER;
      if (size > 0 && m_next == m_end && !Refill()) return ce::kRapiConnectionReset;
      const std::size_t given = std::min<std::size_t>(size, m_end - m_next);
      std::memcpy(buffer, m_ahead.data() + m_next, given);
      m_next += given;
      if (read != nullptr) *read = static_cast<ULONG>(given);
      return S_OK;
    });
  }

  HRESULT Write(const void* buffer, ULONG size, ULONG* written) override {
    return Enter<Call::IRAPIStream_Write>(GetPhone(), [&] {
      const auto* bytes = static_cast<const char*>(buffer);
      ULONG done = 0;
      while (done < size) {
        const ssize_t sent = Put(bytes + done, size - done);
        if (sent < 0 && !MayGoOn(m_out, POLLOUT)) break;
        if (sent > 0) done += static_cast<ULONG>(sent);
      }
      if (written != nullptr) *written = done;
      return done == size ? S_OK : ce::kRapiConnectionReset;
    });
  }

  HRESULT Seek(ce::LARGE_INTEGER, ce::DWORD, ce::ULARGE_INTEGER*) override { return E_NOTIMPL; }
  HRESULT SetSize(ce::ULARGE_INTEGER) override { return E_NOTIMPL; }
  HRESULT CopyTo(ce::IStream*, ce::ULARGE_INTEGER, ce::ULARGE_INTEGER*, ce::ULARGE_INTEGER*) override {
    return E_NOTIMPL;
  }
  HRESULT Commit(ce::DWORD) override { return E_NOTIMPL; }
  HRESULT Revert() override { return E_NOTIMPL; }
  HRESULT LockRegion(ce::ULARGE_INTEGER, ce::ULARGE_INTEGER, ce::DWORD) override { return E_NOTIMPL; }
  HRESULT UnlockRegion(ce::ULARGE_INTEGER, ce::ULARGE_INTEGER, ce::DWORD) override { return E_NOTIMPL; }
  HRESULT Stat(ce::STATSTG*, ce::DWORD) override { return E_NOTIMPL; }
  HRESULT Clone(ce::IStream**) override { return E_NOTIMPL; }
  HRESULT SetRapiStat(ce::INT, ce::DWORD) override { return E_NOTIMPL; }
  HRESULT GetRapiStat(ce::INT, ce::DWORD*) override { return E_NOTIMPL; }

 private:
  // Waits for bytes; false when there will be none.
  bool Refill() {
    while (true) {
      const ssize_t got = ::read(m_in, m_ahead.data(), m_ahead.size());
      if (got > 0) {
        m_next = 0;
        m_end = static_cast<std::size_t>(got);
        return true;
      }
      if (got == 0 || !MayGoOn(m_in, POLLIN)) return false;
    }
  }

  // A socket is told not to raise SIGPIPE; anything else cannot be told.
  ssize_t Put(const char* bytes, ULONG size) {
    if (m_outIsSocket) {
      const ssize_t sent = ::send(m_out, bytes, size, MSG_NOSIGNAL);
      if (sent >= 0 || errno != ENOTSOCK) return sent;
      m_outIsSocket = false;
    }
    return ::write(m_out, bytes, size);
  }

  // After an error: whether to try again. A descriptor that does not block is waited for.
  static bool MayGoOn(int fd, short event) {
    if (errno == EINTR) return true;
    if (errno != EAGAIN) return false;
    pollfd waited{fd, event, 0};
    return poll(&waited, 1, -1) >= 0 || errno == EINTR;
  }

  static constexpr std::size_t kReadAhead = 16 * 1024;

  const int m_in;
  const int m_out;
  const UniqueFd m_ownedIn;
  const UniqueFd m_ownedOut;
  bool m_outIsSocket = true;
  std::size_t m_next = 0;
  std::size_t m_end = 0;
  std::array<char, kReadAhead> m_ahead;
};

}  // namespace

ce::IRAPIStream* NewDescriptorStream(int in, int out) { return new DescriptorStream(ThisPhone(), in, out); }

}  // namespace handset
