#include "agent/transport/RapiStreamConnection.h"

namespace {

// What both directions make of the stream's answer: a reset is the desktop being gone, anything but S_OK a failure.
bool Conclude(ce::HRESULT result, ce::ULONG moved, std::int32_t& count) {
  if (result == ce::kRapiConnectionReset) {
    count = CConnectionManager::kConnectionClosed;
    return true;
  }
  count = static_cast<std::int32_t>(moved);
  return result == ce::S_OK;
}

}  // namespace

CRapiStreamConnection::~CRapiStreamConnection() {
  if (m_stream != nullptr) {
    m_stream->Release();
  }
}

bool CRapiStreamConnection::Read(std::uint8_t* buffer, std::int32_t& count, std::int32_t size) {
  ce::ULONG moved = 0;
  const ce::HRESULT result = m_stream->Read(buffer, static_cast<ce::ULONG>(size), &moved);
  return Conclude(result, moved, count);
}

bool CRapiStreamConnection::Write(const std::uint8_t* buffer, std::int32_t& count, std::int32_t size) {
  ce::ULONG moved = 0;
  const ce::HRESULT result = m_stream->Write(buffer, static_cast<ce::ULONG>(size), &moved);
  return Conclude(result, moved, count);
}
