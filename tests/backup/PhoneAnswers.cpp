#include "tests/backup/PhoneAnswers.h"

#include <algorithm>
#include <set>
#include <stdexcept>

#include "handset/Handset.h"
#include "handset/system/Clock.h"
#include "tests/support/EngineRun.h"

namespace test {

namespace {

struct Request {
  std::string about;
  std::uint16_t module, command;
  Bytes data = {};
};

constexpr std::ptrdiff_t kLengthAt = 8;   // behind start mark, module and command
constexpr std::size_t kTail = 6;          // packet number, end mark
constexpr std::uint16_t kFirst = 0xF001;  // a byte that no text of a phone has, before any end mark of ours

// Takes the reply with this number off the front. Neither its length field nor an end mark in a text is relied on.
Bytes TakeReply(const Bytes& sent, std::size_t& at, std::uint16_t number) {
  const Bytes end = U16(number) + FromText("ZZZZ");
  const auto begin = sent.begin() + static_cast<std::ptrdiff_t>(at);
  const auto found = std::search(begin, sent.end(), end.begin(), end.end());
  if (found == sent.end()) throw std::runtime_error("a reply is missing or broken");
  at = static_cast<std::size_t>(found - sent.begin()) + kTail;
  return {begin + kLengthAt, found};
}

// One session of its own: all requests, each arriving after the one before was answered.
std::vector<PhoneAnswer> Ask(const std::vector<Request>& requests) {
  Script script;
  script.Give(HandshakeAndOpen());
  std::uint16_t number = kFirst;
  for (const Request& request : requests) script.Give(Frame(request.module, request.command, number++, request.data));
  RunAlone(script);
  std::size_t at = 0;
  TakeReply(script.sent, at, 0x0101);
  TakeReply(script.sent, at, 0x0102);
  number = kFirst;
  std::vector<PhoneAnswer> answers;
  for (const Request& request : requests) {
    PhoneAnswer answer{request.about, 0, TakeReply(script.sent, at, number++)};
    for (std::size_t i = 2; i < 6; ++i) answer.result = answer.result << 8 | answer.reply.at(i);
    answers.push_back(std::move(answer));
  }
  return answers;
}

std::uint32_t CountIn(const PhoneAnswer& answer) {
  std::uint32_t count = 0;
  for (const char byte : answer.Document()) count = count << 8 | static_cast<std::uint8_t>(byte);
  return count;
}

// As they stand on the wire.
std::vector<std::string> NamesIn(std::string_view document) {
  std::vector<std::string> names;
  const std::string open = "  <name>", close = "</name>\n";
  for (std::size_t at = document.find(open); at != document.npos; at = document.find(open, at)) {
    const std::size_t end = document.find(close, at);
    names.emplace_back(document.substr(at + open.size(), end - at - open.size()));
    at = end + close.size();
  }
  return names;
}

Bytes Terminated(const std::string& name) { return FromText(name) + Bytes{0}; }

std::vector<PhoneAnswer> AskItems(std::uint16_t module, const std::string& item) {
  const std::uint32_t count = CountIn(Ask({{"", module, 1}, {"", module, 5}}).at(1));
  std::vector<Request> requests = {{item + "s opened", module, 1}, {item + "s counted", module, 5}};
  for (std::uint32_t i = 1; i <= count + 1; ++i)
    requests.push_back({item + " " + std::to_string(i), module, 9, U32(i)});
  requests.push_back({item + "s closed", module, 3});
  return Ask(requests);
}

std::vector<PhoneAnswer> AskCalls() {
  const std::uint32_t count = CountIn(Ask({{"", 5, 1}}).at(0));
  std::vector<Request> requests = {{"calls counted", 5, 1}};
  for (std::uint32_t i = 1; i <= count + 1; ++i) requests.push_back({"call " + std::to_string(i), 5, 41});
  return Ask(requests);
}

void AskMessages(PhoneAnswers& answers, int messages) {
  std::vector<Request> listing = {{"accounts", 6, 9}};
  std::vector<Request> reading;
  std::set<std::string> asked;  // of several of one name, the first is opened
  for (const std::string& account : NamesIn(Ask(listing).at(0).Document())) {
    if (!asked.insert(account).second) continue;
    const Request select = {account, 6, 1, Terminated(account)};
    const Request list = {account + "'s folders", 6, 11};
    listing.push_back(select);
    listing.push_back(list);
    reading.push_back(select);
    for (const std::string& folder : NamesIn(Ask({select, list}).at(1).Document())) {
      // No request can hold an end mark.
      if (folder.find("ZZZZ") != folder.npos || !asked.insert(account + "/" + folder).second) continue;
      reading.push_back({account + "/" + folder, 6, 5, Terminated(folder)});
      reading.push_back({account + "/" + folder + " counted", 6, 13});
      for (int i = 1; i <= messages; ++i) {
        reading.push_back({account + "/" + folder + " message " + std::to_string(i), 6, 15});
      }
    }
  }
  answers.names = Ask(listing);
  answers.messages = Ask(reading);
}

}  // namespace

std::string_view PhoneAnswer::Document() const {
  return {reinterpret_cast<const char*>(reply.data()) + 6, reply.size() - 6};
}

PhoneAnswers AskEverything(const std::filesystem::path& folder, int messages) {
  const auto phone = handset::Handset::Open(folder);
  const handset::CurrentPhone current(*phone);
  phone->SetThreads(handset::Threads::kInline);
  phone->GetClock().UseVirtualTime();
  EXPECT_EQ(ce::CoInitializeEx(nullptr, ce::COINIT_MULTITHREADED), ce::S_OK);
  PhoneAnswers answers;
  answers.contacts = AskItems(3, "contact");
  answers.appointments = AskItems(4, "appointment");
  answers.calls = AskCalls();
  AskMessages(answers, messages);
  ce::CoUninitialize();
  return answers;
}

}  // namespace test
