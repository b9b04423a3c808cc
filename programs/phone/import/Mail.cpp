#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fmt/chrono.h>
#include <fmt/format.h>
#include <fstream>
#include <nlohmann/json.hpp>

#include "desktop/mbox/MboxReader.h"
#include "programs/phone/import/Import.h"

namespace brelix_phone {
namespace {

using nlohmann::json;

// Where the mail of a folder was written on the phone, unless its headers say otherwise.
constexpr std::string_view kOutgoingFolders[] = {"Sent Items", "Sent", "Outbox", "Drafts"};

struct MailSource {
  std::string account, folder;
  std::filesystem::path file;
};

MailSource ParseSource(const std::string& text) {
  const std::size_t slash = text.find('/');
  const std::size_t equals = text.find('=', slash == text.npos ? 0 : slash);
  if (slash == text.npos || equals == text.npos || slash == 0 || equals == slash + 1 || equals + 1 == text.size()) {
    throw std::invalid_argument(
        fmt::format("--mail: \"{}\" is not of the form ACCOUNT/FOLDER=FILE, for example Work/Inbox=inbox.mbox", text));
  }
  return {text.substr(0, slash), text.substr(slash + 1, equals - slash - 1), text.substr(equals + 1)};
}

// The object of that name in a list of the description; made where there is none.
json& Named(json& owner, const char* list, const std::string& name) {
  json& all = owner[list];
  if (all.is_null()) all = json::array();
  if (!all.is_array()) throw std::runtime_error(fmt::format("--mail: \"{}\" in the description is no list", list));
  for (json& one : all) {
    if (one.is_object() && one.contains("name") && one["name"] == name) return one;
  }
  all.push_back({{"name", name}});
  return all.back();
}

json PersonToJson(const brelix::Mailbox& mailbox) {
  json person = json::object();
  if (mailbox.name) person["name"] = *mailbox.name;
  if (mailbox.address) person["address"] = *mailbox.address;
  return person;
}

// A sender's name is what makes a message an incoming one on a phone, so it is never missing.
json SenderToJson(const brelix::Letter& letter) {
  json sender = PersonToJson(letter.from.value_or(brelix::Mailbox{}));
  if (!sender.contains("name")) sender["name"] = sender.value("address", "");
  return sender;
}

json LetterToJson(const brelix::Letter& letter, bool outgoing) {
  json message = json::object();
  if (outgoing) {
    for (const brelix::Mailbox& to : letter.to) {
      const json person = PersonToJson(to);
      if (!person.empty()) message["recipients"].push_back(person);
    }
  } else {
    message["sender"] = SenderToJson(letter);
  }
  if (letter.subject) message["subject"] = *letter.subject;
  if (letter.date) {
    message["delivered"] = fmt::format("{:%Y-%m-%dT%H:%M:%S}Z", fmt::gmtime(letter.date->time_since_epoch().count()));
  }
  return message;
}

}  // namespace

void ImportMail(const std::string& source, json& description) {
  const MailSource mail = ParseSource(source);
  std::ifstream in(mail.file, std::ios::binary);
  const int error = std::filesystem::is_directory(mail.file) ? EISDIR : in ? 0 : errno;
  if (error != 0) {
    throw std::runtime_error(fmt::format("{}: cannot be read: {}", mail.file.string(), std::strerror(error)));
  }
  const bool outgoing =
      std::find(std::begin(kOutgoingFolders), std::end(kOutgoingFolders), mail.folder) != std::end(kOutgoingFolders);
  json& messages = Named(Named(description, "accounts", mail.account), "folders", mail.folder)["messages"];
  if (messages.is_null()) messages = json::array();
  if (!messages.is_array()) throw std::runtime_error("--mail: \"messages\" in the description is no list");
  brelix::MboxReader reader(in, mail.file.string());
  while (const auto letter = reader.Next()) {
    messages.push_back(LetterToJson(*letter, letter->outgoing.value_or(outgoing)));
  }
}

}  // namespace brelix_phone
