#include "programs/phone/hostile/LyingStream.h"

#include <chrono>
#include <thread>

namespace brelix_phone::hostile {
namespace {

using ce::E_NOTIMPL;
using ce::HRESULT;
using ce::ULONG;

class LyingStream final : public ce::IRAPIStream {
 public:
  LyingStream(ce::IRAPIStream* stream, Liar liar) : m_stream(stream), m_liar(std::move(liar)) { m_liar.BeginSession(); }
  ~LyingStream() { m_stream->Release(); }

  HRESULT QueryInterface(const ce::IID&, void** object) override {
    if (object != nullptr) *object = nullptr;
    return ce::E_NOINTERFACE;
  }
  ULONG AddRef() override { return ++m_references; }
  ULONG Release() override {
    const ULONG left = --m_references;
    if (left == 0) delete this;
    return left;
  }

  HRESULT Read(void* buffer, ULONG size, ULONG* read) override {
    return m_hungUp ? ce::kRapiConnectionReset : m_stream->Read(buffer, size, read);
  }

  HRESULT Write(const void* buffer, ULONG size, ULONG* written) override {
    for (const Act& act : m_liar.Answer({static_cast<const std::uint8_t*>(buffer), size})) {
      std::this_thread::sleep_for(std::chrono::milliseconds(act.pauseMs));
      ULONG sent = 0;
      const HRESULT result =
          act.bytes.empty() ? ce::S_OK : m_stream->Write(act.bytes.data(), static_cast<ULONG>(act.bytes.size()), &sent);
      if (result != ce::S_OK) return result;
      m_hungUp = act.hangUp;
      if (m_hungUp) return ce::kRapiConnectionReset;
    }
    if (written != nullptr) *written = size;
    return ce::S_OK;
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
  ce::IRAPIStream* const m_stream;
  Liar m_liar;
  ULONG m_references = 1;  // one thread at a time uses the stream
  bool m_hungUp = false;
};

}  // namespace

ce::IRAPIStream* NewLyingStream(ce::IRAPIStream* stream, Liar liar) { return new LyingStream(stream, std::move(liar)); }

}  // namespace brelix_phone::hostile
