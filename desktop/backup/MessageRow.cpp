#include "desktop/backup/MessageRow.h"

#include <array>

#include "desktop/Failure.h"
#include "desktop/backup/RowValues.h"
#include "desktop/messages/Message.h"

namespace brelix::backup {
namespace {

constexpr std::array<ElementRule, 5> kIncoming = {
    {{"direction", 0}, {"time", 1}, {"sender", 2}, {"phone_or_email", 3}, {"subject", 4}}};
constexpr std::array<ElementRule, 5> kOutgoing = {
    {{"direction", 0}, {"time", 1}, {"recipient", 2, true}, {"phone_or_email", 2, true}, {"subject", 3}}};
constexpr std::array<ElementRule, 1> kNames = {{{"name", 0, true}}};

// Names and addresses in their order. A name and the address behind it are taken for one recipient; whichever way they
// belong together, they are told in this order again.
void AddRecipient(const ElementText& element, handset::MailMessage& message, Losses& losses) {
  const bool is_name = element.name == "recipient";
  std::u16string text = TextOf(element.text, element.name, losses);
  const bool continues = !is_name && !message.recipients.empty() && !message.recipients.back().address;
  if (!continues) message.recipients.emplace_back();
  (is_name ? message.recipients.back().name : message.recipients.back().address) = std::move(text);
}

std::u16string SenderAddress(std::string_view raw, Losses& losses) {
  bool ambiguous = false;
  return TextOf(RestoreSenderAddress(raw, ambiguous), "phone_or_email", losses);
}

}  // namespace

handset::MailMessage MessageRow(std::string_view text, Losses& losses) {
  const std::string_view body = InsideRoot(text, "message");
  const bool outgoing = body.starts_with("  <direction>outgoing</direction>");
  const RawDocument document(text, "message", outgoing ? std::span(kOutgoing) : std::span(kIncoming), losses);
  if (document.Raw("direction") != (outgoing ? "outgoing" : "incoming"))
    throw Failure(Exit::kProtocol, "the phone's message has no direction");
  handset::MailMessage message;
  if (!outgoing) message.senderName = u"";
  for (const ElementText& element : document.elements()) {
    const auto& [name, raw] = element;
    if (name == "time") message.delivered = FileTimeOf(raw, {}, name, losses);
    if (name == "sender") message.senderName = TextOf(raw, name, losses);
    if (name == "subject") message.subject = NeededText(raw, name, losses);
    if (name == "phone_or_email" && !outgoing) message.senderAddress = SenderAddress(raw, losses);
    if ((name == "phone_or_email" && outgoing) || name == "recipient") AddRecipient(element, message, losses);
  }
  if (!outgoing && !document.Raw("sender"))
    losses.push_back({"sender", "is missing although the message is an incoming one; it becomes empty"});
  return message;
}

std::vector<WireName> NameRows(std::string_view document, std::string_view root, Losses& losses) {
  const RawDocument read(document, root, kNames, losses);
  std::vector<WireName> names;
  for (const ElementText& element : read.elements())
    names.push_back({TextOf(element.text, root, losses), std::string(element.text)});
  return names;
}

}  // namespace brelix::backup
