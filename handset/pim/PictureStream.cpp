#include "handset/pim/PictureStream.h"

#include <algorithm>
#include <cstring>

#include "handset/com/ComObject.h"

namespace handset {

namespace {

using ce::E_NOTIMPL;
using ce::HRESULT;
using ce::S_OK;
using ce::ULONG;

constexpr HRESULT STG_E_INVALIDFUNCTION = ce::Hresult(0x80030001);
constexpr HRESULT STG_E_ACCESSDENIED = ce::Hresult(0x80030005);
constexpr HRESULT STG_E_MEDIUMFULL = ce::Hresult(0x80030070);

// More than any phone has room for.
constexpr std::uint64_t kMostBytes = 64U << 20;

class PictureStream final : public ComObject<PictureStream, ce::IStream> {
 public:
  static constexpr const char* kName = "IStream";
  static constexpr Call kRelease = Call::IStream_Release;
  static bool Answers(const ce::IID&) { return false; }

  PictureStream(Phone& phone, std::shared_ptr<PictureState> state, Bytes picture, bool writable)
      : ComObject(phone), m_state(std::move(state)), m_bytes(std::move(picture)), m_writable(writable) {
    m_state->isOpen = true;
  }
  ~PictureStream() { m_state->isOpen = false; }

  HRESULT Read(void* buffer, ULONG size, ULONG* read) override {
    return Enter<Call::IStream_Read>(GetPhone(), [&] {
      if (buffer == nullptr) return ce::E_POINTER;
      const std::uint64_t there = m_at < m_bytes.size() ? m_bytes.size() - m_at : 0;
      const auto given = static_cast<ULONG>(std::min<std::uint64_t>(size, there));
      if (given > 0) std::memcpy(buffer, m_bytes.data() + m_at, given);
      m_at += given;
      if (read != nullptr) *read = given;
      return S_OK;
    });
  }

  HRESULT Write(const void* buffer, ULONG size, ULONG* written) override {
    return Enter<Call::IStream_Write>(GetPhone(), [&] {
      if (!m_writable) return STG_E_ACCESSDENIED;
      if (buffer == nullptr) return ce::E_POINTER;
      if (m_at + size > kMostBytes) return STG_E_MEDIUMFULL;
      if (m_at + size > m_bytes.size()) m_bytes.resize(m_at + size);
      if (size > 0) std::memcpy(m_bytes.data() + m_at, buffer, size);
      m_at += size;
      if (written != nullptr) *written = size;
      return S_OK;
    });
  }

  HRESULT Seek(ce::LARGE_INTEGER move, ce::DWORD origin, ce::ULARGE_INTEGER* position) override {
    return Enter<Call::IStream_Seek>(GetPhone(), [&] {
      const std::int64_t distance = std::int64_t{move.HighPart} * (std::int64_t{1} << 32) + move.LowPart;
      const std::int64_t size = static_cast<std::int64_t>(m_bytes.size());
      std::int64_t from = 0;
      if (origin == ce::STREAM_SEEK_CUR) from = static_cast<std::int64_t>(m_at);
      if (origin == ce::STREAM_SEEK_END) from = size;
      // No sum of these overflows.
      const bool fits = distance >= -from && distance <= static_cast<std::int64_t>(kMostBytes);
      if (origin > ce::STREAM_SEEK_END || !fits) return STG_E_INVALIDFUNCTION;
      m_at = static_cast<std::uint64_t>(from + distance);
      if (position != nullptr) *position = {static_cast<ce::DWORD>(m_at), static_cast<ce::DWORD>(m_at >> 32)};
      return S_OK;
    });
  }

  HRESULT SetSize(ce::ULARGE_INTEGER size) override {
    return Enter<Call::IStream_SetSize>(GetPhone(), [&] {
      if (!m_writable) return STG_E_ACCESSDENIED;
      if (size.HighPart != 0 || size.LowPart > kMostBytes) return STG_E_MEDIUMFULL;
      m_bytes.resize(size.LowPart);
      return S_OK;
    });
  }

  HRESULT Commit(ce::DWORD) override {
    return Enter<Call::IStream_Commit>(GetPhone(), [&] {
      if (m_writable) m_state->committed = m_bytes;
      return S_OK;
    });
  }

  HRESULT CopyTo(ce::IStream*, ce::ULARGE_INTEGER, ce::ULARGE_INTEGER*, ce::ULARGE_INTEGER*) override {
    return E_NOTIMPL;
  }
  HRESULT Revert() override { return E_NOTIMPL; }
  HRESULT LockRegion(ce::ULARGE_INTEGER, ce::ULARGE_INTEGER, ce::DWORD) override { return E_NOTIMPL; }
  HRESULT UnlockRegion(ce::ULARGE_INTEGER, ce::ULARGE_INTEGER, ce::DWORD) override { return E_NOTIMPL; }
  HRESULT Stat(ce::STATSTG*, ce::DWORD) override { return E_NOTIMPL; }
  HRESULT Clone(ce::IStream**) override { return E_NOTIMPL; }

 private:
  const std::shared_ptr<PictureState> m_state;
  Bytes m_bytes;
  const bool m_writable;
  std::uint64_t m_at = 0;
};

}  // namespace

ce::IStream* NewPictureStream(Phone& phone, std::shared_ptr<PictureState> state, Bytes picture, bool writable) {
  return new PictureStream(phone, std::move(state), std::move(picture), writable);
}

}  // namespace handset
