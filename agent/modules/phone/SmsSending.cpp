// CMessagingModule: a text message is sent, and asked what became of it. The phone's service is open for one command.
#include <cstring>
#include <memory>
#include <new>

#include "agent/modules/phone/MessagingModule.h"
#include "platform/Sms.h"

namespace {

constexpr std::uint32_t kStatusRequestLength = 8;
constexpr ce::DWORD kStatusTimeoutMilliseconds = 1000;

class CSmsService {
 public:
  CSmsService() = default;
  ~CSmsService() {
    if (m_isOpen) {
      ce::SmsClose(m_handle);
    }
  }
  CSmsService(const CSmsService&) = delete;
  CSmsService& operator=(const CSmsService&) = delete;

  ce::HRESULT Open() {
    const ce::HRESULT result = ce::SmsOpen(u"Microsoft Text SMS Protocol", ce::SMS_MODE_SEND, &m_handle, nullptr);
    m_isOpen = result >= 0;
    return result;
  }
  ce::SMS_HANDLE Handle() const { return m_handle; }

 private:
  ce::SMS_HANDLE m_handle{};
  bool m_isOpen = false;
};

// The request's texts, one after the other, each ended by a zero. They are read from a copy with zeros behind it:
// however a request is cut, nothing beyond it is read.
class CTextFields {
 public:
  // False without memory.
  bool Copy(std::span<const std::uint8_t> data) {
    constexpr std::size_t kLongestCharacter = 3;
    m_size = static_cast<std::uint32_t>(data.size());
    m_bytes.reset(new (std::nothrow) std::uint8_t[data.size() + kLongestCharacter]());
    if (m_bytes == nullptr) {
      return false;
    }
    std::copy(data.begin(), data.end(), m_bytes.get());
    return true;
  }

  // False when the text does not end within the request, or has more than capacity - 1 units.
  bool Read(char16_t* text, std::uint32_t capacity) {
    if (m_at >= m_size) {
      return false;
    }
    const std::uint32_t end = m_at + CAgentEngine::Utf8ToUtf16(&m_bytes[m_at], text, capacity);
    m_at = end + 1;
    return end < m_size && m_bytes[end] == 0;
  }

 private:
  std::unique_ptr<std::uint8_t[]> m_bytes;
  std::uint32_t m_size = 0;
  std::uint32_t m_at = 0;
};

// A message as the phone is asked to send it; too large for a phone's stack.
struct SmsMessage {
  ce::SMS_ADDRESS serviceCentre{};
  ce::SMS_ADDRESS destination{};
  ce::TEXT_PROVIDER_SPECIFIC_DATA provider{};
  std::unique_ptr<char16_t[]> text;
};

// 0, or the result that the request is answered. Chosen: a request that is cut is refused, and so are an address that
// the phone's record cannot hold and a text with a byte that begins no character; nothing is sent then.
std::uint32_t ReadRequest(std::span<const std::uint8_t> data, SmsMessage& message) {
  if (data.empty()) {
    return wire::kResultRefused;
  }
  CTextFields fields;
  const auto capacity = static_cast<std::uint32_t>(data.size());
  message.text.reset(new (std::nothrow) char16_t[capacity]());
  if (message.text == nullptr || !fields.Copy(data.subspan(1))) {
    return static_cast<std::uint32_t>(ce::E_OUTOFMEMORY);
  }
  const bool whole = fields.Read(message.serviceCentre.ptsAddress, std::size(message.serviceCentre.ptsAddress)) &&
                     fields.Read(message.destination.ptsAddress, std::size(message.destination.ptsAddress)) &&
                     fields.Read(message.text.get(), capacity);
  message.serviceCentre.smsatAddressType = ce::SMSAT_INTERNATIONAL;
  message.destination.smsatAddressType = ce::SMSAT_INTERNATIONAL;
  message.provider.dwMessageOptions = data[0] != 0 ? ce::PS_MESSAGE_OPTION_STATUSREPORT : 0;
  message.provider.psMessageClass = ce::PS_MESSAGE_CLASS1;
  return whole ? wire::kResultOk : wire::kResultRefused;
}

ce::HRESULT Send(const SmsMessage& message, ce::DWORD& id) {
  CSmsService service;
  const ce::HRESULT result = service.Open();
  if (result < 0) {
    return result;
  }
  const bool ownCentre = message.serviceCentre.ptsAddress[0] == 0;
  const std::u16string_view text(message.text.get());
  return ce::SmsSendMessage(
      service.Handle(), ownCentre ? nullptr : &message.serviceCentre, &message.destination, nullptr,
      reinterpret_cast<const ce::BYTE*>(text.data()), static_cast<ce::DWORD>(text.size() * sizeof(char16_t)),
      reinterpret_cast<const ce::BYTE*>(&message.provider), sizeof message.provider, ce::SMSDE_OPTIMAL, 0, &id);
}

}  // namespace

void CMessagingModule::SendSms(CReplyWriter& reply) {
  const std::unique_ptr<SmsMessage> message(new (std::nothrow) SmsMessage);
  if (message == nullptr) {
    return reply.SendResult(static_cast<std::uint32_t>(ce::E_OUTOFMEMORY));
  }
  const std::uint32_t answer = ReadRequest(RequestData(), *message);
  if (answer != wire::kResultOk) {
    return reply.SendResult(answer);
  }
  ce::DWORD id = 0;
  const ce::HRESULT result = Send(*message, id);
  if (result < 0) {
    return reply.SendResult(static_cast<std::uint32_t>(result));
  }
  reply.U32(wire::kResultOk);
  reply.U32(id);
  reply.Send();
}

// Kept(status-reply-counts-12): the two status words are written and counted in the length field, but the reply that
// goes out ends with the result.
void CMessagingModule::GetSmsStatus(CReplyWriter& reply) {
  if (m_pEngine->GetPktDataLen() != kStatusRequestLength) {
    return reply.SendResult(wire::kResultRefused);
  }
  CSmsService service;
  ce::HRESULT result = service.Open();
  ce::SMS_STATUS_INFORMATION status{};
  if (result >= 0) {
    status.smsmidMessageID = wire::ReadU32(m_pFrame + wire::kDataAt);
    result = ce::SmsGetMessageStatus(service.Handle(), status.smsmidMessageID, &status, kStatusTimeoutMilliseconds);
  }
  if (result < 0) {
    return reply.SendResult(static_cast<std::uint32_t>(result));
  }
  reply.U32(wire::kResultOk);
  reply.U32(status.dwMessageStatus1);
  reply.U32(status.dwMessageStatus0);
  reply.SendCounted(12, wire::kBodyDataAt + 4);
}
