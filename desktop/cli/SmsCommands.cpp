#include "desktop/cli/SmsCommands.h"

#include <fmt/format.h>
#include <memory>

#include "desktop/sms/Sms.h"
#include "desktop/sms/SmsText.h"

namespace brelix::cli {
namespace {

// How the text is expected to travel; the phone's service decides.
void ReportText(Report& report, const SmsText& text) {
  const bool gsm7 = text.alphabet == SmsText::Alphabet::kGsm7;
  report.Add("Alphabet", AlphabetName(text.alphabet), "alphabet", gsm7 ? "gsm7" : "ucs2");
  report.Add("Length", fmt::format("{} of {} {}", text.length, text.capacity, gsm7 ? "septets" : "UTF-16 units"),
             "length", text.length);
  report.Add("UTF-16 units", std::to_string(text.utf16_units), "utf16_units", text.utf16_units);
  report.Add("Parts", std::to_string(text.parts.size()), "part_count", text.parts.size());
}

Exit ShowOnly(const Options& options, const SmsRequest& request) {
  const SmsText text = DivideSms(request.text);
  Report report;
  report.Add("Sent", "no, only shown", "sent", false);
  report.Add("Number", "number", request.number);
  ReportText(report, text);
  for (size_t i = 0; i < text.parts.size(); i++)
    report.Add(fmt::format("Part {}", i + 1), text.parts[i], "parts", text.parts);
  WriteToStdout(options.json ? report.ForPrograms() : report.ForPeople());
  return Exit::kOk;
}

Exit Send(Context& context, const SmsRequest& request) {
  context.phone.Start();
  const uint32_t id = SendSms(context.session, request);
  Report& report = context.report;
  report.Add("Message ID", std::to_string(id), "message_id", id);
  report.Add("Number", "number", request.number);
  report.Add("Delivery report", request.report ? "asked for" : "not asked for", "report_requested", request.report);
  ReportText(report, DivideSms(request.text));
  return Exit::kOk;
}

Exit Status(Context& context, uint32_t id) {
  context.phone.Start();
  AskSmsStatus(context.session, id);
  Report& report = context.report;
  report.Add("Message ID", std::to_string(id), "message_id", id);
  report.Add("Known to the phone", "yes, it has a status of it", "known", true);
  report.Add("Delivered", "not told: the phone looks it up, but the answer ends before it", "delivered", Json());
  return Exit::kOk;
}

void DeclareSend(CLI::App& sms, Action& chosen) {
  const auto request = std::make_shared<SmsRequest>();
  const auto dry_run = std::make_shared<bool>(false);
  CLI::App* send = sms.add_subcommand("send", "Send a text message through the phone");
  send->add_option("NUMBER", request->number, "The recipient's number, with country code: +420123456789")->required();
  send->add_option("TEXT", request->text, "The text")->required();
  send->add_flag("--report", request->report, "Ask the network for a delivery report");
  send->add_option("--service-centre", request->service_centre, "The service centre's number instead of the phone's");
  send->add_flag("-n,--dry-run", *dry_run, "Only show how the text would be divided; needs no phone");
  send->callback([request, dry_run, &chosen] {
    BuildSms(*request);  // throws what cannot be sent
    if (*dry_run)
      chosen = Action::WithoutPhone([request](const Options& options) { return ShowOnly(options, *request); });
    else
      chosen = [request](Context& context) { return Send(context, *request); };
  });
}

}  // namespace

void DeclareSms(CLI::App& app, Action& chosen) {
  CLI::App* sms = AddGroup(app, "sms", "Send text messages, ask what became of them");
  DeclareSend(*sms, chosen);
  const auto id = std::make_shared<uint32_t>();
  CLI::App* status = sms->add_subcommand("status", "Ask whether the phone knows a message that it sent");
  status->add_option("ID", *id, "The message ID that sms send told")->required();
  status->callback([id, &chosen] { chosen = [id](Context& context) { return Status(context, *id); }; });
}

}  // namespace brelix::cli
