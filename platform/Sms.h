// sms: sending text messages and asking what became of them.
#pragma once

#include "platform/Types.h"

namespace ce {

enum class SMS_HANDLE : DWORD {};

inline constexpr DWORD SMS_MODE_SEND = 2;
inline constexpr DWORD SMSAT_INTERNATIONAL = 1;
inline constexpr DWORD PS_MESSAGE_OPTION_STATUSREPORT = 2;
inline constexpr DWORD PS_MESSAGE_CLASS1 = 1;
inline constexpr INT SMSDE_OPTIMAL = 0;

// Results of the library, 0x82000000 and its own number.
inline constexpr HRESULT SMS_E_INVALIDPROTOCOL = Hresult(0x82000001);
inline constexpr HRESULT SMS_E_TOOMUCHDATA = Hresult(0x82000100);
inline constexpr HRESULT SMS_E_INVALIDDATA = Hresult(0x82000101);
inline constexpr HRESULT SMS_E_PROVIDERSPECIFICBUFFERTOOSMALL = Hresult(0x82000103);
inline constexpr HRESULT SMS_E_INVALIDADDRESS = Hresult(0x82000107);

struct SMS_ADDRESS {
  DWORD smsatAddressType;
  WCHAR ptsAddress[256];
};
CE_LAYOUT(SMS_ADDRESS, 516, 4);

// sms.h: what the provider of text messages is told beside the message.
struct TEXT_PROVIDER_SPECIFIC_DATA {
  DWORD dwMessageOptions;
  DWORD psMessageClass;
  DWORD psReplaceOption;
  DWORD dwHeaderDataSize;
  BYTE pbHeaderData[140];
  BOOL fMessageContainsEMSHeaders;
  DWORD dwProtocolID;
  DWORD dwExtParams;
  DWORD tpsPriority;
  SMS_ADDRESS smsaCallback;
};
CE_LAYOUT(TEXT_PROVIDER_SPECIFIC_DATA, 688, 4);
CE_OFFSET(TEXT_PROVIDER_SPECIFIC_DATA, fMessageContainsEMSHeaders, 156);
CE_OFFSET(TEXT_PROVIDER_SPECIFIC_DATA, smsaCallback, 172);

// Both times are UTC. Both status words 0: nothing is known.
struct SMS_STATUS_INFORMATION {
  DWORD smsmidMessageID;
  DWORD dwMessageStatus0;
  DWORD dwMessageStatus1;
  SMS_ADDRESS smsaRecipientAddress;
  SYSTEMTIME stServiceCenterTimeStamp;
  SYSTEMTIME stDischargeTime;
};
CE_LAYOUT(SMS_STATUS_INFORMATION, 560, 4);
CE_OFFSET(SMS_STATUS_INFORMATION, stServiceCenterTimeStamp, 528);

HRESULT SmsOpen(LPCWSTR provider, DWORD modes, SMS_HANDLE* handle, HANDLE* received) CE_SYMBOL("SmsOpen");
// serviceCentre: null for the phone's own. data: the text without a terminator, dataSize in bytes.
HRESULT SmsSendMessage(SMS_HANDLE handle, const SMS_ADDRESS* serviceCentre, const SMS_ADDRESS* destination,
                       const SYSTEMTIME* validity, const BYTE* data, DWORD dataSize, const BYTE* providerData,
                       DWORD providerDataSize, INT encoding, DWORD options, DWORD* messageId)
    CE_SYMBOL("SmsSendMessage");
// Waits up to milliseconds for a report.
HRESULT SmsGetMessageStatus(SMS_HANDLE handle, DWORD messageId, SMS_STATUS_INFORMATION* status, DWORD milliseconds)
    CE_SYMBOL("SmsGetMessageStatus");
HRESULT SmsClose(SMS_HANDLE handle) CE_SYMBOL("SmsClose");

}  // namespace ce
