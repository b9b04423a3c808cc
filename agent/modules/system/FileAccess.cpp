// CSystemModule, files: one file is open at a time, read from its start to its end in chunks. The handle is shared with
// the listing of folders.
#include "agent/modules/system/SystemModule.h"
#include "platform/Kernel.h"

namespace {

// The longest frame a desktop needs to hold, 16384 bytes, less a reply's 20 bytes around the data.
constexpr ce::DWORD kChunkSize = 16364;

}  // namespace

// False when the platform refuses to close: its error has been sent, and the handle stays as it is.
bool CSystemModule::CloseOpenHandle(CReplyWriter& reply) {
  if (m_handle == ce::INVALID_HANDLE_VALUE) {
    return true;
  }
  const ce::BOOL closed = m_handleKind == HandleKind::kFind ? ce::FindClose(m_handle) : ce::CloseHandle(m_handle);
  if (closed == 0) {
    reply.SendResult(ce::GetLastError());
    return false;
  }
  m_handle = ce::INVALID_HANDLE_VALUE;
  return true;
}

// Kept(either-close-closes-either): closing a listing and closing a file are one operation on whatever is open.
// Chosen: with nothing open the result is 0.
void CSystemModule::CloseFile(CReplyWriter& reply) {
  if (CloseOpenHandle(reply)) {
    reply.SendResult(wire::kResultOk);
  }
}

void CSystemModule::OpenFile(CReplyWriter& reply) {
  if (!CloseOpenHandle(reply)) {
    return;
  }
  m_handleKind = HandleKind::kFile;
  TakePath();
  m_handle = ce::CreateFileW(m_path.data(), ce::GENERIC_READ, 0, nullptr, ce::OPEN_EXISTING, ce::FILE_ATTRIBUTE_NORMAL,
                             ce::kNoHandle);
  reply.SendResult(m_handle != ce::INVALID_HANDLE_VALUE ? wire::kResultOk : ce::GetLastError());
}

// The platform reads straight into the reply. A chunk without bytes is the end of the file, which stays open.
void CSystemModule::ReadChunk(CReplyWriter& reply) {
  reply.U32(wire::kResultOk);
  ce::DWORD count = 0;
  if (ce::ReadFile(m_handle, reply.Rest().data(), kChunkSize, &count, nullptr) == 0) {
    return reply.SendResult(ce::GetLastError());
  }
  reply.Skip(std::min(count, kChunkSize));
  reply.Send();
}
