#include "desktop/cli/MessageCommands.h"

#include <fmt/format.h>
#include <memory>

#include "desktop/NewFile.h"
#include "desktop/TimeZone.h"
#include "desktop/cli/BadItems.h"
#include "desktop/cli/Progress.h"
#include "desktop/mbox/MboxWriter.h"
#include "desktop/messages/MessageStore.h"

namespace brelix::cli {
namespace {

struct MessageRequest {
  std::string account, folder;
  std::string zone;  // as the user named it; empty for UTC
  std::string mbox;  // the file to write; empty for JSON on standard output
};

using Take = std::function<void(const std::string& folder, const Message& message)>;

const char* DirectionName(const Message& message) {
  return message.direction == Message::Direction::kOutgoing ? "outgoing" : "incoming";
}

Json AsJson(const std::string& folder, const Message& message, const std::string& zone) {
  Json json = {{"folder", folder},
               {"direction", DirectionName(message)},
               {"time", message.time ? Json(TimeText(*message.time, 'T', zone)) : Json()},
               {"zone", zone.empty() ? "utc" : zone}};
  if (message.direction == Message::Direction::kIncoming) {
    json["sender"] = OrNull(message.sender);
    json["address"] = OrNull(message.address);
  } else {
    json["recipients"] = Json::array();
    for (const Recipient& recipient : message.recipients)
      json["recipients"].push_back({{"name", OrNull(recipient.name)}, {"address", OrNull(recipient.address)}});
  }
  json["subject"] = OrNull(message.subject);
  if (message.ambiguous) json["ambiguous"] = true;
  return json;
}

std::string Person(const std::optional<std::string>& name, const std::optional<std::string>& address) {
  if (!name || !address) return name.value_or(address.value_or("unknown"));
  return *name == *address || address->find(*name) != address->npos ? *address
                                                                    : fmt::format("{} <{}>", *name, *address);
}

std::string People(const Message& message) {
  if (message.direction == Message::Direction::kIncoming) return Person(message.sender, message.address);
  std::string all;
  for (const Recipient& recipient : message.recipients)
    all += (all.empty() ? "" : ", ") + Person(recipient.name, recipient.address);
  return all;
}

std::string AsMail(const Message& message) {
  Letter letter;
  letter.outgoing = message.direction == Message::Direction::kOutgoing;
  letter.from =
      *letter.outgoing ? Mailbox{std::nullopt, std::string(kOwner)} : Mailbox{message.sender, message.address};
  for (const Recipient& recipient : message.recipients) letter.to.push_back({recipient.name, recipient.address});
  letter.subject = message.subject;
  letter.date = message.time;
  std::vector<HeaderField> more = {{"X-Body", "not available over this protocol"}};
  if (message.ambiguous) more.emplace_back("X-Ambiguous", "true");
  return WriteLetter(letter, more);
}

void ReadFolder(MessageStore& store, const MessageRequest& request, const std::string& folder, BadItems& items,
                const Take& take) {
  Progress progress(folder, std::nullopt);
  ItemWalk<Message> walk = items.Walk<Message>([&](uint64_t, const Message& message) { take(folder, message); });
  walk.step = [&](uint64_t total) { progress.Step(total); };
  WalkMessages(store, request.account, folder, walk);
}

Exit ListNames(Context& context, const char* what, const Names& names) {
  List list(context.options.json, {{what}});
  for (const std::string& name : names.names) {
    Json json = {{"name", name}};
    if (names.ambiguous) json["ambiguous"] = true;
    list.Add(json, {name});
  }
  list.Finish();
  if (names.ambiguous) Complain("the names can be divided in more than one way");
  return Exit::kOk;
}

Exit ListAccounts(Context& context) {
  context.phone.Start();
  return ListNames(context, "Account", MessageStore(context.session).Accounts());
}

Exit ListFolders(Context& context, const std::string& account) {
  context.phone.Start();
  return ListNames(context, "Folder", MessageStore(context.session).Folders(account));
}

Exit ListMessages(Context& context, const MessageRequest& request) {
  context.phone.Start();
  MessageStore store(context.session);
  BadItems items("message");
  List list(context.options.json, {{request.zone.empty() ? "Time (UTC)" : fmt::format("Time ({})", request.zone)},
                                   {"Direction"},
                                   {"From or to", false, true},
                                   {"Subject", false, true},
                                   {"Note"}});
  ReadFolder(store, request, request.folder, items, [&](const std::string& folder, const Message& message) {
    list.Add(AsJson(folder, message, request.zone),
             {message.time ? TimeText(*message.time, ' ', request.zone) : "unknown", DirectionName(message),
              People(message), message.subject.value_or(""), message.ambiguous ? "ambiguous" : ""});
  });
  list.Finish();
  return items.Outcome();
}

// One folder, or all of the account: a name that is there twice is read once, since a phone finds its first only.
std::vector<std::string> FoldersToRead(MessageStore& store, const MessageRequest& request) {
  if (!request.folder.empty()) return {request.folder};
  std::vector<std::string> folders;
  for (const std::string& name : store.Folders(request.account).names) {
    if (std::find(folders.begin(), folders.end(), name) == folders.end())
      folders.push_back(name);
    else
      Complain(fmt::format("the account has two folders \"{}\"; only the first can be read", name));
  }
  return folders;
}

Exit ExportMessages(Context& context, const MessageRequest& request) {
  NewFile file(request.mbox.empty() ? "-" : request.mbox);
  context.phone.Start();
  MessageStore store(context.session);
  BadItems items("message");
  for (const std::string& folder : FoldersToRead(store, request))
    ReadFolder(store, request, folder, items, [&](const std::string& name, const Message& message) {
      file.Write(request.mbox.empty() ? JsonLine(AsJson(name, message, request.zone)) : AsMail(message));
    });
  file.Commit();
  return items.Outcome();
}

void DeclareList(CLI::App& messages, Action& chosen) {
  const auto request = std::make_shared<MessageRequest>();
  CLI::App* list = messages.add_subcommand("list", "List a folder's messages, newest first; a phone tells no texts");
  list->add_option("ACCOUNT", request->account, "The account's name, exactly")->required();
  list->add_option("FOLDER", request->folder, "The folder's name, exactly")->required();
  list->add_option("--tz", request->zone, "Show times in this zone, for example Europe/Prague, instead of UTC");
  list->callback([request, &chosen] {
    if (!request->zone.empty()) CheckTimeZone(request->zone);
    chosen = [request](Context& context) { return ListMessages(context, *request); };
  });
}

void DeclareExport(const CLI::App& app, CLI::App& messages, Action& chosen) {
  const auto request = std::make_shared<MessageRequest>();
  CLI::App* to_file = messages.add_subcommand("export", "Write an account's messages as mail, or with --json as JSON");
  to_file->add_option("ACCOUNT", request->account, "The account's name, exactly")->required();
  to_file->add_option("FOLDER", request->folder, "The folder's name, exactly; all folders without it");
  CLI::Option* mbox =
      to_file->add_option("--mbox", request->mbox, "The file, as mail in mbox format; - for standard output");
  to_file->add_option("--tz", request->zone, "With --json: times in this zone instead of UTC")->excludes(mbox);
  to_file->callback([request, &app, &chosen] {
    if (request->mbox.empty() == (app.count("--json") == 0))
      throw Failure(Exit::kUsage,
                    "messages export: give either --mbox FILE or --json, which writes to standard output");
    if (!request->zone.empty()) CheckTimeZone(request->zone);
    chosen = [request](Context& context) { return ExportMessages(context, *request); };
  });
}

}  // namespace

void DeclareMessages(CLI::App& app, Action& chosen) {
  CLI::App* messages = AddGroup(app, "messages", "The phone's message store: e-mail, SMS and MMS");
  messages->add_subcommand("accounts", "List the accounts")->callback([&chosen] { chosen = ListAccounts; });
  const auto account = std::make_shared<std::string>();
  CLI::App* folders = messages->add_subcommand("folders", "List the folders at the top of an account");
  folders->add_option("ACCOUNT", *account, "The account's name, exactly")->required();
  folders->callback(
      [account, &chosen] { chosen = [account](Context& context) { return ListFolders(context, *account); }; });
  DeclareList(*messages, chosen);
  DeclareExport(app, *messages, chosen);
}

}  // namespace brelix::cli
