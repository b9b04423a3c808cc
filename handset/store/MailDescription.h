// The message stores' part of a description.
#pragma once

#include "handset/store/Description.h"
#include "handset/store/JsonNode.h"

namespace handset {

// Throws DescriptionError.
std::vector<MailAccount> ParseAccounts(const JsonNode& list);
nlohmann::json PrintMessage(const MailMessage& message);
nlohmann::json PrintAccounts(const std::vector<MailAccount>& accounts);

}  // namespace handset
