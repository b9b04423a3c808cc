#include "agent/modules/system/SystemModule.h"

#include "platform/Kernel.h"
#include "platform/Registry.h"

namespace {

constexpr ce::DWORD kKeyRead = 0x20019;  // KEY_READ of winnt.h
constexpr std::uint16_t kOpenReplyConstant = 0x02B5;

// Ends a registry key's use with the scope.
class CKeyOwner {
 public:
  explicit CKeyOwner(ce::HKEY key) : m_key(key) {}
  ~CKeyOwner() { ce::RegCloseKey(m_key); }
  CKeyOwner(const CKeyOwner&) = delete;
  CKeyOwner& operator=(const CKeyOwner&) = delete;

 private:
  ce::HKEY m_key;
};

}  // namespace

bool CSystemModule::Construct() {
  const std::uint32_t result = m_radio.Query();
  ReadCardFolder();
  return result == 0;
}

void CSystemModule::ReadCardFolder() {
  ce::HKEY key{};
  if (ce::RegOpenKeyExW(ce::HKEY_LOCAL_MACHINE, u"\\System\\StorageManager\\Profiles\\SDMMC", 0, kKeyRead, &key) !=
      ce::ERROR_SUCCESS) {
    return;
  }
  const CKeyOwner owner(key);
  ce::DWORD size = sizeof m_cardFolder;
  if (ce::RegQueryValueExW(key, u"Folder", nullptr, nullptr, reinterpret_cast<ce::BYTE*>(m_cardFolder.data()), &size) !=
      ce::ERROR_SUCCESS) {
    m_cardFolder[0] = 0;
  }
}

// The value may fill the buffer without a terminator.
std::u16string_view CSystemModule::CardFolder() const {
  const std::u16string_view buffer(m_cardFolder.data(), m_cardFolder.size());
  return {buffer.data(), std::min(buffer.find(u'\0'), buffer.size())};
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
