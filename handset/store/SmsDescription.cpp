#include "handset/store/SmsDescription.h"

#include <fmt/format.h>
#include <set>

#include "handset/store/FileTimeText.h"
#include "handset/store/JsonFields.h"
#include "handset/store/NearMatch.h"

namespace handset {

namespace {

using nlohmann::json;

struct StateName {
  std::string_view name;
  std::array<std::uint32_t, 2> status;
};
// The phone's status words: nothing known yet, and received by its destination.
constexpr std::array<StateName, 2> kStates = {{{"sent", {0, 0}}, {"delivered", {1, 0}}}};

void ParseState(const JsonNode& node, SmsStep& step) {
  const std::string wanted = node.String();
  for (const StateName& known : kStates) {
    if (known.name != wanted) continue;
    step.status = known.status;
    return;
  }
  node.Misfit("\"sent\" or \"delivered\"");
}

SmsStep ParseStep(const JsonNode& node) {
  node.NeedObject({"queries", "state", "status", "result"});
  SmsStep step;
  ReadNumber(node, "queries", step.queries);
  if (const auto state = node.Find("state")) ParseState(*state, step);
  if (const auto status = node.Find("status")) {
    std::vector<std::uint32_t> words;
    status->ForEach([&](const JsonNode& word) { words.push_back(word.Number<std::uint32_t>()); });
    if (words.size() != step.status.size()) status->Misfit("two numbers");
    step.status = {words[0], words[1]};
  }
  if (const auto result = node.Find("result")) step.result = result->Code();
  const int said = (node.Find("state") ? 1 : 0) + (node.Find("status") ? 1 : 0) + (step.result ? 1 : 0);
  if (said != 1) node.Misfit("one of \"state\", \"status\" and \"result\"");
  return step;
}

json PrintStep(const SmsStep& step) {
  json out = {{"queries", step.queries}};
  if (step.result) {
    out["result"] = fmt::format("0x{:08X}", *step.result);
    return out;
  }
  for (const StateName& known : kStates) {
    if (known.status == step.status) out["state"] = known.name;
  }
  if (!out.contains("state")) out["status"] = step.status;
  return out;
}

SmsRule ParseRule(const JsonNode& node) {
  node.NeedObject({"to", "refused", "steps"});
  SmsRule rule;
  ReadText(node, "to", rule.to);
  if (const auto refused = node.Find("refused")) rule.refused = refused->Code();
  ReadList(node, "steps", rule.steps, ParseStep);
  if (rule.refused.has_value() == !rule.steps.empty()) node.Misfit("either \"refused\" or \"steps\"");
  return rule;
}

json PrintRule(const SmsRule& rule) {
  json out = json::object();
  PrintText(out, "to", rule.to);
  if (rule.refused) out["refused"] = fmt::format("0x{:08X}", *rule.refused);
  if (!rule.steps.empty()) out["steps"] = PrintList(rule.steps, PrintStep);
  return out;
}

OutboxMessage ParseOutboxMessage(const JsonNode& node) {
  node.NeedObject({"id", "sent", "to", "text", "serviceCentre", "options", "class", "replace", "encoding", "queries"});
  OutboxMessage message;
  message.id = node.Need("id").Number<std::uint32_t>();
  if (const auto sent = node.Find("sent")) message.sent = ParseFileTime(*sent);
  message.to = node.Need("to").Text();
  message.text = node.Need("text").Text();
  ReadText(node, "serviceCentre", message.serviceCentre);
  ReadNumber(node, "options", message.options);
  ReadNumber(node, "class", message.messageClass);
  ReadNumber(node, "replace", message.replaceOption);
  ReadNumber(node, "encoding", message.encoding);
  ReadNumber(node, "queries", message.queries);
  return message;
}

}  // namespace

Sms ParseSms(const JsonNode& node) {
  node.NeedObject({"nextId", "delivery"});
  Sms sms;
  ReadNumber(node, "nextId", sms.nextId);
  ReadList(node, "delivery", sms.delivery, ParseRule);
  return sms;
}

json PrintSms(const Sms& sms) { return {{"nextId", sms.nextId}, {"delivery", PrintList(sms.delivery, PrintRule)}}; }

std::vector<OutboxMessage> ParseOutbox(const JsonNode& list) {
  std::vector<OutboxMessage> messages;
  std::set<std::uint32_t> ids;
  list.ForEach([&](const JsonNode& node) {
    messages.push_back(ParseOutboxMessage(node));
    if (!ids.insert(messages.back().id).second) node.Need("id").Misfit("an id that is not there already");
  });
  return messages;
}

json PrintOutboxMessage(const OutboxMessage& message) {
  json out = {{"id", message.id},
              {"sent", PrintFileTime(message.sent)},
              {"to", TextToJson(message.to)},
              {"text", TextToJson(message.text)},
              {"options", message.options},
              {"class", message.messageClass},
              {"replace", message.replaceOption},
              {"encoding", message.encoding},
              {"queries", message.queries}};
  PrintText(out, "serviceCentre", message.serviceCentre);
  return out;
}

}  // namespace handset
