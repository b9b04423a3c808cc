// Rows of documents as no agent of ours writes them, and of what only the clock decides.
#include <gtest/gtest.h>

#include "desktop/Failure.h"
#include "desktop/backup/AppointmentRow.h"
#include "desktop/backup/CallRow.h"
#include "desktop/backup/ContactRow.h"
#include "desktop/backup/MessageRow.h"

namespace test {
namespace {

using brelix::Failure;
using brelix::backup::Loss;
using brelix::backup::Losses;
using handset::ContactText;

const std::string kDeclaration = "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n";

std::string Contact(const std::string& inside) {
  return kDeclaration + "<contactentry>\n" + inside + "</contactentry>";
}

// "FirstName is ..., LastName holds ..."
std::string Told(const Losses& losses) {
  std::string told;
  for (const Loss& loss : losses) told += (told.empty() ? "" : ", ") + loss.what + " " + loss.why;
  return told;
}

TEST(Rows, ContactsFromElsewhereAreKeptAsFarAsTheyGo) {
  Losses losses;
  const handset::Contact row = ContactRow(Contact("  <oid>7</oid>\n"
                                                  "  <Birthday>19750229T000000Z</Birthday>\n"
                                                  "  <Anniversary>20010616T134559Z</Anniversary>\n"
                                                  "  <FirstName>A\xFF</FirstName>\n"
                                                  "  <Ringtone>bell</Ringtone>\n"
                                                  "  <FileAs>Ada</FileAs>\n"
                                                  "  <Picture>\n!!\r\n  </Picture>\n"),
                                          losses);
  EXPECT_EQ(row.oid, 7);
  EXPECT_EQ(row[ContactText::FirstName], u"A\uFFFD");
  EXPECT_EQ(row[ContactText::FileAs], u"Ada");
  EXPECT_EQ(row.anniversary, 37058 + 49559.0 / 86400);
  EXPECT_TRUE(row.picture.empty());
  EXPECT_EQ(Told(losses),
            "contactentry is not written as agents write it; what is unknown in it is left out, "
            "Birthday \"19750229T000000Z\" is no time that a phone has, "
            "FirstName holds bytes that are no text; U+FFFD stands for them, "
            "Picture is not whole base64; it is left out");
}

TEST(Rows, AContactWithoutAnObjectIdIsNone) {
  for (const char* oid : {"", "  <oid>0</oid>\n", "  <oid>4294967296</oid>\n", "  <oid>07</oid>\n"}) {
    Losses losses;
    EXPECT_THROW(ContactRow(Contact(oid), losses), Failure) << oid;
  }
}

TEST(Rows, AnAppointmentHasNumbersThatAreNone) {
  Losses losses;
  const handset::Appointment row = AppointmentRow(
      kDeclaration +
          "<agendaentry>\n  <oid>31</oid>\n  <alldayevent>maybe</alldayevent>\n  <starttime>soon</starttime>\n"
          "  <endtime>00000000T000000Z</endtime>\n  <isrecurring>yes</isrecurring>\n"
          "  <recurrence>hourly</recurrence>\n  <interval>4294967295</interval>\n"
          "  <patternstartdate>20090713T000000Z</patternstartdate>\n  <busystatus>busy</busystatus>\n"
          "  <sensitivity>secret</sensitivity>\n  <meetingstatus>none</meetingstatus>\n"
          "  <reminderset>no</reminderset>\n  <minutesbeforereminder>2147483648</minutesbeforereminder>\n"
          "</agendaentry>",
      losses);
  EXPECT_EQ(row.busyStatus, 2);
  EXPECT_EQ(row.recurrence->interval, -1);
  EXPECT_EQ(row.recurrence->patternStartDate, 40007);
  EXPECT_TRUE(row.recurrence->noEndDate);
  EXPECT_EQ(Told(losses),
            "alldayevent is neither yes nor no, starttime \"soon\" is no time that a phone has, "
            "sensitivity is \"secret\", which is none of the words for it, "
            "minutesbeforereminder \"2147483648\" is no number that a phone has, "
            "recurrence is \"hourly\", which is none of the words for it");
}

TEST(Rows, CallsAreKeptInUtc) {
  const std::string call = kDeclaration +
                           "<logentry>\n  <startcall>20090712T134501Z</startcall>\n"
                           "  <endcall>102331231T235959Z</endcall>\n  <calltype>missed</calltype>\n"
                           "<calleridtype>blocked</calleridtype>\n  <number></number>\n</logentry>";
  for (const int offset : {-60, 0, 120}) {
    Losses losses;
    const handset::CallEntry row = CallRow(call, std::chrono::minutes(offset), losses);
    EXPECT_EQ(row.start, 128'918'799'010'000'000 - offset * 600'000'000LL);
    EXPECT_EQ(row.end, 2'724'311'231'990'000'000 - offset * 600'000'000LL);
    EXPECT_EQ(row.number, u"");
    EXPECT_EQ(row.name, std::nullopt);
    EXPECT_EQ(Told(losses), "");
  }
  Losses losses;
  EXPECT_THROW(CallRow(kDeclaration + "<logentry>\n</logentry>", {}, losses), Failure);
}

TEST(Rows, BracketsOfASenderAreAnglesAgain) {
  Losses losses;
  const handset::MailMessage row = MessageRow(kDeclaration +
                                                  "<message>\n  <direction>incoming</direction>\n  <sender>B</sender>\n"
                                                  "  <phone_or_email>\"B\" (((+1555)))</phone_or_email>\n</message>",
                                              losses);
  EXPECT_EQ(row.senderAddress, u"\"B\" <+1555>");
  EXPECT_EQ(Told(losses), "");
  for (const char* document : {"<message>\n</message>", "<message>\n  <direction>sideways</direction>\n</message>"})
    EXPECT_THROW(MessageRow(kDeclaration + document, losses), Failure);
}

}  // namespace
}  // namespace test
