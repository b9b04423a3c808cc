#include "platform/Sms.h"

#include <cstring>

#include "handset/Enter.h"
#include "handset/phone/GsmText.h"
#include "handset/store/MailRows.h"
#include "handset/store/SmsRows.h"

using handset::Call;
using handset::Enter;
using handset::Failure;
using handset::Held;
using handset::OutboxMessage;
using handset::Phone;
using handset::SmsRule;
using handset::SmsStep;
using handset::ThisPhone;
using handset::ThrowCode;

namespace {

constexpr std::u16string_view kTextProvider = u"Microsoft Text SMS Protocol";
constexpr std::u16string_view kAccount = u"SMS";
constexpr std::u16string_view kSentItems = u"Sent Items";
// The header of a message among several has a byte for its number.
constexpr std::uint32_t kMostParts = 255;

struct OpenSms : handset::HandleObject {
  OpenSms() : HandleObject(Held::kSmsHandle) {}
};

void Need(const Phone& phone, ce::SMS_HANDLE handle) {
  if (!phone.handles.Find<OpenSms>(static_cast<std::uintptr_t>(handle))) ThrowCode(ce::E_INVALIDARG);
}

std::u16string AddressOf(const ce::SMS_ADDRESS& address) {
  const std::u16string_view units(address.ptsAddress, std::size(address.ptsAddress));
  return std::u16string(units.substr(0, units.find(u'\0')));
}

std::u16string TextOf(const ce::BYTE* data, ce::DWORD size) {
  if (size % sizeof(ce::WCHAR) != 0 || (data == nullptr && size != 0)) ThrowCode(ce::SMS_E_INVALIDDATA);
  std::u16string text(size / sizeof(ce::WCHAR), u'\0');
  if (size != 0) std::memcpy(text.data(), data, size);
  return text;
}

handset::FileTime Now(const Phone& phone) {
  return handset::ToFileTime(phone.clock.Now().time_since_epoch() - phone.clock.GetUtcOffset());
}

// What happens to messages to this destination. Nothing when the phone's description does not say.
std::optional<SmsRule> RuleFor(const Phone& phone, std::u16string_view destination) {
  const auto sms = phone.store.Use([](auto& database) { return handset::SelectSms(database); });
  for (const SmsRule& rule : sms.delivery) {
    if (!rule.to || *rule.to == destination) return rule;
  }
  return std::nullopt;
}

// The outbox and the folder have the message, or neither has.
std::uint32_t Keep(const Phone& phone, const OutboxMessage& message) {
  handset::MailMessage sent;
  sent.subject = message.text;
  sent.delivered = message.sent;
  sent.recipients = {{message.to, message.to, false}};
  return phone.store.Use([&](SQLite::Database& database) {
    SQLite::Transaction transaction(database);
    const std::uint32_t id = handset::AddToOutbox(database, message);
    handset::FileMessage(database, kAccount, kSentItems, sent);
    transaction.commit();
    return id;
  });
}

SmsStep StepOf(const OutboxMessage& message, const std::optional<SmsRule>& rule) {
  std::vector<SmsStep> steps;
  if (rule) {
    steps = rule->steps;
  } else if ((message.options & ce::PS_MESSAGE_OPTION_STATUSREPORT) != 0) {
    steps = {{.queries = 1, .status = {0, 0}, .result = {}}, {.queries = 1, .status = {1, 0}, .result = {}}};
  }
  std::uint32_t asked = message.queries;
  for (std::size_t i = 0; i < steps.size(); ++i) {
    if (asked < steps[i].queries || i + 1 == steps.size()) return steps[i];
    asked -= steps[i].queries;
  }
  // Nobody reports: the time-out ends the wait.
  return {.queries = 1, .status = {}, .result = static_cast<std::uint32_t>(ce::E_FAIL)};
}

}  // namespace

namespace ce {

HRESULT SmsOpen(LPCWSTR provider, DWORD modes, SMS_HANDLE* handle, HANDLE*) {
  Phone& phone = ThisPhone();
  return Enter<Call::SmsOpen>(phone, [&] {
    if (provider == nullptr || handle == nullptr) return E_INVALIDARG;
    if (provider != kTextProvider) return SMS_E_INVALIDPROTOCOL;
    if (modes != SMS_MODE_SEND) return E_INVALIDARG;
    *handle = SMS_HANDLE{phone.handles.Add(std::make_shared<OpenSms>(), {})};
    return S_OK;
  });
}

HRESULT SmsSendMessage(SMS_HANDLE handle, const SMS_ADDRESS* serviceCentre, const SMS_ADDRESS* destination,
                       const SYSTEMTIME*, const BYTE* data, DWORD dataSize, const BYTE* providerData,
                       DWORD providerDataSize, INT encoding, DWORD, DWORD* messageId) {
  Phone& phone = ThisPhone();
  return Enter<Call::SmsSendMessage>(phone, [&] {
    Need(phone, handle);
    if (destination == nullptr) return E_INVALIDARG;
    TEXT_PROVIDER_SPECIFIC_DATA provider{};
    if (providerData == nullptr || providerDataSize != sizeof provider) return SMS_E_PROVIDERSPECIFICBUFFERTOOSMALL;
    std::memcpy(&provider, providerData, sizeof provider);
    OutboxMessage message{.sent = Now(phone),
                          .to = AddressOf(*destination),
                          .text = TextOf(data, dataSize),
                          .serviceCentre = {},
                          .options = provider.dwMessageOptions,
                          .messageClass = provider.psMessageClass,
                          .replaceOption = provider.psReplaceOption,
                          .encoding = static_cast<std::uint32_t>(encoding)};
    if (message.to.empty()) return SMS_E_INVALIDADDRESS;
    if (serviceCentre != nullptr) message.serviceCentre = AddressOf(*serviceCentre);
    if (handset::MeasureText(message.text, message.encoding).parts > kMostParts) return SMS_E_TOOMUCHDATA;
    const auto rule = RuleFor(phone, message.to);
    if (rule && rule->refused) return Hresult(*rule->refused);
    const std::uint32_t id = Keep(phone, message);
    if (messageId != nullptr) *messageId = id;
    return S_OK;
  });
}

HRESULT SmsGetMessageStatus(SMS_HANDLE handle, DWORD messageId, SMS_STATUS_INFORMATION* status, DWORD) {
  Phone& phone = ThisPhone();
  return Enter<Call::SmsGetMessageStatus>(phone, [&] {
    Need(phone, handle);
    if (status == nullptr) return E_INVALIDARG;
    const auto message =
        phone.store.Use([&](auto& database) { return handset::SelectOutboxMessage(database, messageId); });
    if (!message) return E_INVALIDARG;
    const SmsStep step = StepOf(*message, RuleFor(phone, message->to));
    phone.store.Use([&](auto& database) { handset::CountQuery(database, messageId); });
    if (step.result) return Hresult(*step.result);
    status->smsmidMessageID = messageId;
    status->dwMessageStatus0 = step.status[0];
    status->dwMessageStatus1 = step.status[1];
    return S_OK;
  });
}

HRESULT SmsClose(SMS_HANDLE handle) {
  Phone& phone = ThisPhone();
  const auto id = static_cast<std::uintptr_t>(handle);
  const auto close = [&] { return phone.handles.Take<OpenSms>(id) ? S_OK : E_INVALIDARG; };
  return Enter<Call::SmsClose>(phone, close, [&] { phone.handles.Refuse(id); });
}

}  // namespace ce
