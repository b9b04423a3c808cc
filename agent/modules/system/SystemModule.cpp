#include "agent/modules/system/SystemModule.h"

#include "agent/engine/Codecs.h"
#include "agent/modules/system/RegistryKey.h"
#include "platform/Kernel.h"

namespace {

constexpr std::uint16_t kOpenReplyConstant = 0x02B5;

}  // namespace

bool CSystemModule::Construct() {
  const std::uint32_t result = m_radio.Query();
  ReadCardFolder();
  return result == 0;
}

void CSystemModule::ReadCardFolder() {
  CRegistryKey key;
  if (key.Open(ce::HKEY_LOCAL_MACHINE, u"\\System\\StorageManager\\Profiles\\SDMMC") != ce::ERROR_SUCCESS) {
    return;
  }
  ce::DWORD size = sizeof m_cardFolder;
  if (ce::RegQueryValueExW(key.Get(), u"Folder", nullptr, nullptr, reinterpret_cast<ce::BYTE*>(m_cardFolder.data()),
                           &size) != ce::ERROR_SUCCESS) {
    m_cardFolder[0] = 0;
  }
}

// The value may fill the buffer without a terminator.
std::u16string_view CSystemModule::CardFolder() const { return TextIn(m_cardFolder); }

std::u16string_view CSystemModule::TextIn(std::span<const char16_t> area) {
  const std::u16string_view whole(area.data(), area.size());
  return whole.substr(0, whole.find(u'\0'));
}

// Chosen: a path that is longer than the area is cut, which no path of a phone can be.
std::u16string_view CSystemModule::TakePath() {
  const std::span<const std::uint8_t> data = RequestData();
  codecs::DecodeUtf8([data](std::uint32_t place) { return place < data.size() ? std::uint32_t{data[place]} : 0; },
                     m_path);
  return TextIn(m_path);
}

void CSystemModule::HandleCommand(std::int32_t command) {
  static constexpr Command<CSystemModule> kCommands[] = {
      {1, &CSystemModule::OpenSession},
      {3, &CSystemModule::CloseSession},
      {5, nullptr},
      {7, &CSystemModule::SerialNumber},
      {9, nullptr},
      {11, nullptr},
      {13, nullptr},
      {15, &CSystemModule::PermanentInfo},
      {17, &CSystemModule::VolatileInfo},
      {49, nullptr},
      {51, &CSystemModule::OpenListing},
      {53, &CSystemModule::NextListingPart},
      {55, &CSystemModule::CloseFile},
      {57, &CSystemModule::OpenFile},
      {59, &CSystemModule::ReadChunk},
      {61, &CSystemModule::CloseFile},
      {93, &CSystemModule::FileDetails},
      {103, &CSystemModule::EnumerateKeys},
      {105, &CSystemModule::EnumerateValues},
      {107, &CSystemModule::ReadValue},
      {145, nullptr},
      {241, nullptr},
      {wire::kHandshakeCommand, &CSystemModule::Handshake},
      {257, &CSystemModule::SubscriberNumber},
      {259, nullptr},
      {261, nullptr},
      {263, nullptr},
      {265, nullptr},
      {267, nullptr},
      {269, nullptr},
      {271, nullptr},
      {273, nullptr},
      {275, nullptr},
      {277, nullptr},
      {279, nullptr},
      {281, nullptr},
      {283, nullptr},
      {285, nullptr},
      {445, nullptr},
      {447, nullptr},
      {449, nullptr},
      {2303, &CSystemModule::Exit},
  };
  static_assert(Rises(kCommands, std::size(kCommands)));
  Dispatch(wire::kSystem, kCommands, command);
}

// Kept(handshake-allows-even-when-refused): a session that is already open is answered with "refused", and is allowed
// all the same.
void CSystemModule::Handshake(CReplyWriter& reply) {
  m_pEngine->SetAllowed(true);
  reply.SendResult(m_pEngine->IsOpened() ? wire::kResultRefused : wire::kResultOk);
}

// Kept(clock-reply-counts-12): fourteen data bytes are written and twelve are counted, so the second and the
// millisecond never reach the desktop.
void CSystemModule::OpenSession(CReplyWriter& reply) {
  m_pEngine->SetOpened(true);
  ce::SYSTEMTIME now{};
  ce::GetLocalTime(&now);
  reply.U32(wire::kResultOk);
  reply.U16(kOpenReplyConstant);
  reply.U16(now.wYear);
  reply.U8(static_cast<std::uint8_t>(now.wMonth));
  reply.U8(static_cast<std::uint8_t>(now.wDay));
  reply.U8(static_cast<std::uint8_t>(now.wHour));
  reply.U8(static_cast<std::uint8_t>(now.wMinute));
  reply.U8(static_cast<std::uint8_t>(now.wSecond));
  reply.U8(static_cast<std::uint8_t>(now.wMilliseconds));
  constexpr std::uint16_t kCounted = 12;
  reply.SendCounted(kCounted, wire::kBodyDataAt + kCounted);
}

void CSystemModule::CloseSession(CReplyWriter& reply) {
  m_pEngine->SetOpened(false);
  reply.SendResult(wire::kResultOk);
}

// A desktop may end the agent only where it runs for that desktop alone; the request then gets the default reply, as
// the last one of the session. A host program goes on serving.
void CSystemModule::Exit(CReplyWriter& reply) {
  if (m_pEngine->GetAgent() == nullptr) {
    m_pEngine->SignalDone();
    return;
  }
  reply.SendResult(wire::kResultOk);
}

void CSystemModule::SerialNumber(CReplyWriter& reply) {
  reply.U32(wire::kResultOk);
  reply.LowBytes(m_radio.SerialNumber());
  reply.Send();
}

void CSystemModule::SubscriberNumber(CReplyWriter& reply) {
  reply.U32(wire::kResultOk);
  reply.LowBytes(m_radio.SubscriberNumber());
  reply.Send();
}
