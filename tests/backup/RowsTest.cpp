// Rows made of a phone's documents: a phone that has them answers the same bytes.
#include <fstream>
#include <gtest/gtest.h>
#include <map>
#include <nlohmann/json.hpp>

#include "desktop/Failure.h"
#include "desktop/backup/AppointmentRow.h"
#include "desktop/backup/CallRow.h"
#include "desktop/backup/ContactRow.h"
#include "desktop/backup/MessageRow.h"
#include "handset/Handset.h"
#include "tests/backup/PhoneAnswers.h"
#include "tests/support/TemporaryFolder.h"

namespace test {
namespace {

using brelix::backup::Losses;
using nlohmann::json;

// What the rows lose, by what they are about: "contact 7: FirstName", ...
using LossNames = std::vector<std::string>;

void Name(LossNames& names, const std::string& about, const Losses& losses) {
  for (const auto& loss : losses) names.push_back(about + ": " + loss.what);
}

template <typename Row, typename Convert>
std::vector<Row> RowsOf(const std::vector<PhoneAnswer>& answers, const std::string& item, Convert convert,
                        LossNames& names) {
  std::vector<Row> rows;
  for (const PhoneAnswer& answer : answers) {
    if (answer.result != 0 || !answer.about.starts_with(item + " ")) continue;
    Losses losses;
    rows.push_back(convert(answer.Document(), losses));
    Name(names, answer.about, losses);
  }
  return rows;
}

// The accounts and folders as they are listed, and each folder's messages where it was the one that was opened.
std::vector<handset::MailAccount> AccountsOf(const PhoneAnswers& answers, LossNames& names) {
  std::map<std::string, std::vector<handset::MailMessage>> messages;
  std::map<std::string, std::optional<std::uint32_t>> counts;
  for (const PhoneAnswer& answer : answers.messages) {
    if (answer.result != 0) continue;
    const std::size_t message = answer.about.rfind(" message ");
    const std::size_t counted = answer.about.rfind(" counted");
    if (message != answer.about.npos) {
      Losses losses;
      messages[answer.about.substr(0, message)].push_back(brelix::backup::MessageRow(answer.Document(), losses));
      Name(names, answer.about, losses);
    } else if (counted != answer.about.npos) {
      counts[answer.about.substr(0, counted)] = answer.reply.at(6) << 8 | answer.reply.at(7);
    }
  }
  Losses losses;
  std::vector<handset::MailAccount> accounts;
  for (const auto& account : brelix::backup::NameRows(answers.names.at(0).Document(), "accounts", losses)) {
    accounts.push_back({account.name, {}});
    for (const PhoneAnswer& answer : answers.names) {
      if (answer.about != account.raw + "'s folders" || answer.result != 0) continue;
      for (const auto& folder : brelix::backup::NameRows(answer.Document(), "folders", losses)) {
        handset::MailFolder row;
        row.name = folder.name;
        const std::string path = account.raw + "/" + folder.raw;
        row.messages = std::exchange(messages[path], {});
        row.tellsCount = counts.contains(path);
        row.reportedCount = counts[path];
        accounts.back().folders.push_back(std::move(row));
      }
      break;
    }
  }
  Name(names, "names", losses);
  return accounts;
}

// The clock that the copy is made with is an hour behind.
constexpr std::chrono::minutes kOffset{-60};

handset::Description CopyOf(const PhoneAnswers& answers, LossNames& names) {
  handset::Description copy;
  copy.clock.utcOffset = kOffset;
  copy.contacts = RowsOf<handset::Contact>(answers.contacts, "contact", brelix::backup::ContactRow, names);
  copy.appointments =
      RowsOf<handset::Appointment>(answers.appointments, "appointment", brelix::backup::AppointmentRow, names);
  copy.calls = RowsOf<handset::CallEntry>(
      answers.calls, "call",
      [](std::string_view document, Losses& losses) { return brelix::backup::CallRow(document, kOffset, losses); },
      names);
  copy.accounts = AccountsOf(answers, names);
  return copy;
}

// Answers that are not alike, by what they are about. An item that could not be read has no place in the copy.
std::vector<std::string> Differences(const std::vector<PhoneAnswer>& before, const std::vector<PhoneAnswer>& behind,
                                     const std::string& item) {
  std::vector<Bytes> replies;
  for (const PhoneAnswer& answer : behind) replies.push_back(answer.reply);
  std::vector<std::string> different;
  std::size_t at = 0;
  for (const PhoneAnswer& answer : before) {
    const bool unreadable = answer.about.starts_with(item + " ") && answer.result == 0x80004005;
    if (unreadable) continue;
    if (at >= replies.size() || answer.reply != replies[at]) different.push_back(answer.about);
    ++at;
  }
  if (at != replies.size()) different.push_back("too many");
  return different;
}

TEST(Rows, APhoneOfOddValuesAnswersTheSameBytes) {
  const TemporaryFolder folder;
  std::ifstream file(BRELIX_SOURCE_DIR "/tests/e2e/odd-phone.json");
  handset::Handset::Init(folder.Path() / "phone", json::parse(file));
  constexpr int kMessages = 24;
  const PhoneAnswers before = AskEverything(folder.Path() / "phone", kMessages);
  LossNames losses;
  handset::Handset::Init(folder.Path() / "copy", handset::PrintDescription(CopyOf(before, losses)));
  const PhoneAnswers behind = AskEverything(folder.Path() / "copy", kMessages);
  using Texts = std::vector<std::string>;
  // Contact 18 of the phone cannot be read, so that there is one less to count.
  EXPECT_EQ(Differences(before.contacts, behind.contacts, "contact"), Texts{"contacts counted"});
  EXPECT_EQ(Differences(before.appointments, behind.appointments, "appointment"), Texts{});
  EXPECT_EQ(Differences(before.calls, behind.calls, "call"), Texts{});
  EXPECT_EQ(Differences(before.names, behind.names, ""), Texts{});
  EXPECT_EQ(Differences(before.messages, behind.messages, ""), Texts{});
  // Texts that arrive empty: they begin with U+0100, U+4E00 and the like, but for those whose own closing tag is the
  // first thing in them, which could have been empty ones.
  const Texts lost = {"contact 4: MiddleName",
                      "contact 7: CompanyName",
                      "contact 8: FirstName",
                      "contact 8: LastName",
                      "contact 8: NickName",
                      "contact 8: FileAs",
                      "contact 8: Body",
                      "appointment 2: location",
                      "appointment 3: categories",
                      "appointment 3: body",
                      "appointment 3: remindersound",
                      "SMS/Inbox message 11: subject",
                      "SMS/Inbox message 12: subject"};
  EXPECT_EQ(losses, lost);
}

}  // namespace
}  // namespace test
