#include "handset/store/MailDescription.h"

#include "handset/store/FileTimeText.h"
#include "handset/store/JsonFields.h"

namespace handset {

namespace {

using nlohmann::json;

// Folders within folders; deeper ones are no phone's.
constexpr int kDeepestFolder = 32;

MailRecipient ParseRecipient(const JsonNode& node) {
  node.NeedObject({"name", "address", "addressFirst"});
  MailRecipient recipient;
  ReadText(node, "name", recipient.name);
  ReadText(node, "address", recipient.address);
  ReadBool(node, "addressFirst", recipient.addressFirst);
  return recipient;
}

json PrintRecipient(const MailRecipient& recipient) {
  json out = json::object();
  PrintText(out, "name", recipient.name);
  PrintText(out, "address", recipient.address);
  if (recipient.addressFirst) out["addressFirst"] = true;
  return out;
}

MailMessage ParseMessage(const JsonNode& node) {
  node.NeedObject({"sender", "recipients", "subject", "delivered", "hasEntryId"});
  MailMessage message;
  if (const auto sender = node.Find("sender")) {
    sender->NeedObject({"name", "address"});
    ReadText(*sender, "name", message.senderName);
    ReadText(*sender, "address", message.senderAddress);
  }
  ReadList(node, "recipients", message.recipients, ParseRecipient);
  ReadText(node, "subject", message.subject);
  if (const auto delivered = node.Find("delivered")) message.delivered = ParseFileTime(*delivered);
  ReadBool(node, "hasEntryId", message.hasEntryId);
  return message;
}

MailFolder ParseFolder(const JsonNode& node, int depth) {
  if (depth > kDeepestFolder) node.Misfit("at most 32 folders within one another", "one more");
  node.NeedObject({"name", "folders", "messages", "reportedCount"});
  MailFolder folder;
  ReadText(node, "name", folder.name);
  ReadList(node, "folders", folder.folders, [&](const JsonNode& inner) { return ParseFolder(inner, depth + 1); });
  ReadList(node, "messages", folder.messages, ParseMessage);
  if (const auto count = node.Find("reportedCount")) {
    folder.tellsCount = !count->GetJson().is_null();
    if (folder.tellsCount) folder.reportedCount = count->Number<std::uint32_t>();
  }
  return folder;
}

json PrintFolder(const MailFolder& folder) {
  json out = json::object();
  PrintText(out, "name", folder.name);
  if (!folder.folders.empty()) out["folders"] = PrintList(folder.folders, PrintFolder);
  out["messages"] = PrintList(folder.messages, PrintMessage);
  if (folder.reportedCount) out["reportedCount"] = *folder.reportedCount;
  if (!folder.tellsCount) out["reportedCount"] = nullptr;
  return out;
}

MailAccount ParseAccount(const JsonNode& node) {
  node.NeedObject({"name", "folders"});
  MailAccount account;
  ReadText(node, "name", account.name);
  ReadList(node, "folders", account.folders, [](const JsonNode& folder) { return ParseFolder(folder, 1); });
  return account;
}

json PrintAccount(const MailAccount& account) {
  json out = {{"folders", PrintList(account.folders, PrintFolder)}};
  PrintText(out, "name", account.name);
  return out;
}

}  // namespace

json PrintMessage(const MailMessage& message) {
  json out = json::object();
  json sender = json::object();
  PrintText(sender, "name", message.senderName);
  PrintText(sender, "address", message.senderAddress);
  if (!sender.empty()) out["sender"] = std::move(sender);
  if (!message.recipients.empty()) out["recipients"] = PrintList(message.recipients, PrintRecipient);
  PrintText(out, "subject", message.subject);
  if (message.delivered) out["delivered"] = PrintFileTime(*message.delivered);
  if (!message.hasEntryId) out["hasEntryId"] = false;
  return out;
}

std::vector<MailAccount> ParseAccounts(const JsonNode& list) {
  std::vector<MailAccount> accounts;
  list.ForEach([&](const JsonNode& node) { accounts.push_back(ParseAccount(node)); });
  return accounts;
}

json PrintAccounts(const std::vector<MailAccount>& accounts) { return PrintList(accounts, PrintAccount); }

}  // namespace handset
