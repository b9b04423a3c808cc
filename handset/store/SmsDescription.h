// What a description says of sending text messages, and of those that were sent.
#pragma once

#include "handset/store/Description.h"
#include "handset/store/JsonNode.h"

namespace handset {

// Throw DescriptionError; an id that is there twice is one.
Sms ParseSms(const JsonNode& node);
std::vector<OutboxMessage> ParseOutbox(const JsonNode& list);

nlohmann::json PrintSms(const Sms& sms);
nlohmann::json PrintOutboxMessage(const OutboxMessage& message);

}  // namespace handset
