// The domains of contacts, agenda, calls and messages, taken over a link from phones of which some are odd. The folder
// that comes of it is a phone that answers the same, and taking that one again makes the same folder.
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "handset/store/Store.h"
#include "tests/backup/PhoneAnswers.h"
#include "tests/backup/TakenFolder.h"

namespace test {
namespace {

using nlohmann::json;
using Texts = std::vector<std::string>;

// Answers that are not alike, by what they are about. The phone has one contact that cannot be read; it has no place in
// the copy.
Texts Differences(const std::vector<PhoneAnswer>& before, const std::vector<PhoneAnswer>& behind) {
  Texts different;
  auto at = behind.begin();
  for (const PhoneAnswer& answer : before) {
    if (answer.result == 0x80004005 && answer.about.starts_with("contact ")) continue;
    if (at == behind.end() || answer.reply != at->reply) different.push_back(answer.about);
    if (at != behind.end()) ++at;
  }
  if (at != behind.end()) different.push_back("more than before");
  return different;
}

TEST(BackupDomains, AFolderOfAnOddPhoneAnswersTheSameBytes) {
  const MadePhone phone(std::string(BRELIX_SOURCE_DIR "/tests/backup/odd-phone.json"));
  const TakenFolder taken(phone.Path());
  constexpr int kMessages = 24;
  const PhoneAnswers before = AskEverything(phone.Path(), kMessages);
  const PhoneAnswers behind = AskEverything(taken.Path(), kMessages);
  EXPECT_EQ(Differences(before.contacts, behind.contacts), Texts{"contacts counted"});
  EXPECT_EQ(Differences(before.appointments, behind.appointments), Texts{});
  EXPECT_EQ(Differences(before.calls, behind.calls), Texts{});
  EXPECT_EQ(Differences(before.names, behind.names), Texts{});
  // Those whose folders no request can name are there with their name, and empty.
  EXPECT_EQ(Differences(before.messages, behind.messages), Texts{});
  const std::string unreadable = " is shown as empty: it begins with a character that the wire cannot carry";
  Texts others;
  for (const std::string& loss : taken.Losses()) {
    if (!loss.ends_with(unreadable)) others.push_back(loss.substr(0, loss.find(": ")));
  }
  const Texts lost = {"contact at position 17",
                      "SMS/Twice",
                      "SMS/(no. 9, without a name)",
                      "SMS/(no. 11, without a name)",
                      "SMS/(no. 12, without a name)",
                      "SMS/(no. 13, without a name)",
                      "SMS/PIZZZZA",
                      "SMS/Lorem ipsum dolor sit amet, consetetur sadipscing elitr, sed diam nonumy eirmod tempor "
                      "invidunt ut labore et dolore magna aliquyam erat, sed diam voluptua. At vero eos et accusam et "
                      "justo duo dolores et ea rebum. Stet clita kasd gubergren, no sea takimatax",
                      "(no. 2, without a name)",
                      "Twice",
                      "(no. 10, without a name)"};
  EXPECT_EQ(others, lost);
}

TEST(BackupDomains, TakingAFolderAgainMakesTheSame) {
  for (const char* description : {"/tests/backup/odd-phone.json", "/demo/phone.json"}) {
    const MadePhone phone(std::string(BRELIX_SOURCE_DIR) + description);
    const TakenFolder first(phone.Path());
    const TakenFolder second(first.Path());
    EXPECT_EQ(first.Records(), second.Records());
    // What could not be read the first time is not there the second time.
    Texts losses = first.Losses();
    std::erase_if(losses, [](const std::string& loss) { return loss.starts_with("contact at position 17: "); });
    EXPECT_EQ(losses, second.Losses());
  }
}

TEST(BackupDomains, WhatCannotBeReadCostsItself) {
  const json three = {
      {"contacts", {{{"FirstName", "A"}}, {{"FirstName", "B"}}, {{"FirstName", "C"}}}},
      {"appointments", {{{"Start", "2009-07-13"}}, {{"Start", "2009-07-14"}}, {{"Start", "2009-07-15"}}}},
      {"faults",
       {{{"call", "IContact::get_FirstName"}, {"skip", 1}}, {{"call", "IAppointment::get_Subject"}, {"skip", 1}}}}};
  const MadePhone phone(three);
  const TakenFolder taken(phone.Path());
  const Texts lost = {"contact at position 2: 0x80004005 E_FAIL (unspecified failure)",
                      "appointment at position 2: 0x80004005 E_FAIL (unspecified failure)"};
  EXPECT_EQ(taken.Losses(), lost);
  EXPECT_EQ(taken.Records().size(), 4);
}

TEST(BackupDomains, AContactThatComesMeanwhileIsTold) {
  const MadePhone phone(json{{"contacts", {{{"FirstName", "A"}}, {{"FirstName", "B"}}}}});
  const TakenFolder taken(phone.Path(), [&] {
    handset::Store store(phone.Path() / "phone.db");
    handset::Contact late;
    store.PutContact(late, {});
    store.FinishItemChange();
  });
  EXPECT_EQ(taken.Losses(),
            Texts{"contacts: their number changed from 2 to 3 while they were read; some may be missing"});
}

}  // namespace
}  // namespace test
