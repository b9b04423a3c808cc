#include "handset/phone/Outbox.h"

#include "handset/Phone.h"
#include "handset/phone/GsmText.h"
#include "handset/store/SmsDescription.h"
#include "handset/store/SmsRows.h"
#include "platform/Sms.h"

namespace handset {

nlohmann::json ListOutbox(Handset& phone) {
  nlohmann::json list = nlohmann::json::array();
  for (const OutboxMessage& message : phone.GetStore().Use([](auto& database) { return SelectOutbox(database); })) {
    const GsmText measured = MeasureText(message.text, message.encoding);
    nlohmann::json item = PrintOutboxMessage(message);
    item["report"] = (message.options & ce::PS_MESSAGE_OPTION_STATUSREPORT) != 0;
    item["alphabet"] = measured.sevenBit ? "GSM 7-bit" : "UCS-2";
    item["units"] = measured.units;
    item["parts"] = measured.parts;
    list.push_back(std::move(item));
  }
  return list;
}

}  // namespace handset
