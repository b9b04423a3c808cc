// Contacts and agenda under failures: every call that the agent makes on the way fails once, in a session that asks for
// everything. No failure may leave anything behind or cost a reply; and which call fails at which place shows the
// order.
#include <gtest/gtest.h>
#include <iterator>
#include <sstream>

#include "agent/engine/ErrorRecord.h"
#include "tests/support/EngineRun.h"
#include "tests/support/TestPhone.h"

namespace test {
namespace {

using handset::Held;
using Names = std::vector<std::string>;

Names Words(const std::string& text) {
  std::istringstream words(text);
  return {std::istream_iterator<std::string>(words), {}};
}

// The texts of IContact in the order in which they are read and changed.
const Names kTexts = Words(
    "FirstName MiddleName LastName HomeTelephoneNumber Home2TelephoneNumber MobileTelephoneNumber "
    "CarTelephoneNumber RadioTelephoneNumber BusinessTelephoneNumber Business2TelephoneNumber "
    "HomeFaxNumber BusinessFaxNumber PagerNumber Email1Address Email2Address Email3Address AssistantName "
    "AssistantTelephoneNumber CompanyName Department OfficeLocation JobTitle Spouse Children Categories "
    "WebPage Title Suffix HomeAddressStreet HomeAddressCity HomeAddressState HomeAddressPostalCode "
    "HomeAddressCountry OtherAddressStreet OtherAddressCity OtherAddressState OtherAddressPostalCode "
    "OtherAddressCountry BusinessAddressStreet BusinessAddressCity BusinessAddressState "
    "BusinessAddressPostalCode BusinessAddressCountry FileAs Body");

std::string Lines(const Names& names) {
  std::string lines;
  for (const std::string& name : names) lines += name + "\n";
  return lines;
}

void Add(Names& names, const Names& more) { names.insert(names.end(), more.begin(), more.end()); }

Names ReadOrder() {
  Names order =
      Words("IPOutlookItemCollection::Item IContact::get_Oid IContact::get_Birthday IContact::get_Anniversary");
  for (const std::string& text : kTexts) order.push_back("IContact::get_" + text);
  Add(order,
      Words("GetProcessHeap IContact::QueryInterface IItem::GetProps SysAllocString HeapFree IItem::Release "
            "IContact::QueryInterface IItem::OpenProperty IStream::Seek IStream::Seek IStream::Read "
            "IStream::Release IItem::Release VariantTimeToSystemTime VariantTimeToSystemTime IContact::Release"));
  return order;
}

// Of the document below; then the empty text is made.
Names ApplyOrder() {
  Names order = Words(
      "SysAllocString SysAllocString SysAllocString SystemTimeToVariantTime SysAllocString "
      "IContact::put_Birthday IContact::put_Anniversary");
  for (const std::string& text : kTexts) {
    if (text != "FileAs") Add(order, {"IContact::get_" + text, "IContact::put_" + text});
  }
  Add(order, Words("IContact::put_FileAs IContact::Save IContact::QueryInterface IItem::SetProps IItem::Save "
                   "IItem::Release IContact::get_Oid IContact::Release"));
  return order;
}

Names ChangeOrder() {
  Names order = {"IPOutlookApp::GetItemFromOid", "IContact::QueryInterface", "IContact::Release"};
  Add(order, ApplyOrder());
  return order;
}

Names CreateOrder() {
  Names order = {"IPOutlookItemCollection::Add"};
  Add(order, ApplyOrder());
  return order;
}

const Names kPictureOrder = Words(
    "IPOutlookApp::GetItemFromOid IContact::QueryInterface IItem::OpenProperty IStream::Write "
    "IStream::SetSize IStream::Commit IStream::Release IItem::Save IItem::Release IContact::Release");

const Names kAppointmentOrder = Words(
    "IPOutlookItemCollection::Item IAppointment::get_Oid IAppointment::get_IsRecurring "
    "IAppointment::GetRecurrencePattern IRecurrencePattern::get_RecurrenceType "
    "IRecurrencePattern::get_PatternStartDate IRecurrencePattern::get_StartTime "
    "IRecurrencePattern::get_EndTime IRecurrencePattern::get_NoEndDate "
    "IRecurrencePattern::get_PatternEndDate IRecurrencePattern::get_Occurrences "
    "IRecurrencePattern::get_Interval IRecurrencePattern::get_DayOfWeekMask "
    "IRecurrencePattern::get_MonthOfYear IRecurrencePattern::get_Instance IRecurrencePattern::Release "
    "IAppointment::get_Subject IAppointment::get_Location IAppointment::get_Categories "
    "IAppointment::get_Start IAppointment::get_End IAppointment::get_Duration "
    "IAppointment::get_AllDayEvent IAppointment::get_BusyStatus IAppointment::get_Sensitivity "
    "IAppointment::get_Body IAppointment::get_Recipients IAppointment::get_MeetingStatus "
    "IAppointment::get_ReminderSet IAppointment::get_ReminderSoundFile "
    "IAppointment::get_ReminderMinutesBeforeStart IAppointment::get_ReminderOptions IRecipients::Release "
    "VariantTimeToSystemTime VariantTimeToSystemTime VariantTimeToSystemTime VariantTimeToSystemTime "
    "IAppointment::Release");

constexpr std::uint32_t kFirstVictim = 1000;
constexpr std::uint32_t kVictims = 600;

// With a contact to be deleted for each session.
nlohmann::json PhoneWithItems() {
  nlohmann::json phone = nlohmann::json::parse(R"({
    "contacts": [{ "oid": 5, "NickName": "Nick", "Picture": "QUJD" }],
    "appointments": [{ "oid": 6, "Start": "2020-03-02T09:30:00", "Subject": "s",
      "Recurrence": { "RecurrenceType": 6, "PatternEndDate": "2030-01-01", "Occurrences": 3, "Instance": 1 } }] })");
  for (std::uint32_t i = 0; i < kVictims; ++i) phone["contacts"].push_back({{"oid", kFirstVictim + i}});
  return phone;
}

Bytes Document() {
  return FromText(
      "<?xml version=\"1.0\" encoding=\"utf-8\"?><contactentry><FirstName>A</FirstName><FileAs>B</FileAs>"
      "<NickName>Nick</NickName><Birthday>20090712T000000Z</Birthday></contactentry>");
}

struct Request {
  std::uint16_t module;
  std::uint16_t command;
  Bytes data;
  Names order;  // of the calls that it makes when all goes well; memory aside
};

std::vector<Request> Requests(std::uint32_t victim) {
  const Bytes five = U32(5);
  return {{3, 1, {}, {"IFolder::get_Items"}},
          {3, 5, {}, {"IPOutlookItemCollection::get_Count"}},
          {3, 9, U32(1), ReadOrder()},
          {3, 13, five + Document(), ChangeOrder()},
          {3, 13, U32(0) + Document(), CreateOrder()},
          {3, 15, FromText("picture"), {}},
          {3, 17, five, kPictureOrder},
          {3, 3, {}, {"IPOutlookItemCollection::Release"}},
          {4, 1, {}, {"IFolder::get_Items"}},
          {4, 9, U32(1), kAppointmentOrder},
          {4, 3, {}, {"IPOutlookItemCollection::Release"}},
          {3, 11, U32(victim),
           Words("IPOutlookApp::GetItemFromOid IContact::QueryInterface IContact::Release IContact::Delete "
                 "IContact::Release")}};
}

// Runs the session; the n-th call from the first request on fails.
Bytes RunFailing(TestPhone& phone, std::uint64_t n, Bytes& expectedHeads) {
  Script script;
  script.Give(HandshakeAndOpen());
  script.Give(Script::Read::Kind::kNothing, [&] { phone->GetFaults().FailNth(n); });
  std::uint16_t number = 0xF000;
  for (const Request& request : Requests(kFirstVictim + static_cast<std::uint32_t>(n))) {
    script.Give(Frame(request.module, request.command, ++number, request.data));
    expectedHeads = expectedHeads + FromText("XXXX") + U16(request.module) + U16(request.command + 1);
  }
  // What ends the session and the engine is none of these modules' business.
  script.Give(Script::Read::Kind::kNothing, [&] {
    if (!phone->GetFaults().Fired()) phone->GetFaults().Clear();
  });
  RunAlone(script);
  return script.sent;
}

// The heads of the replies behind those of the opening, found by their packet numbers.
Bytes Heads(const Bytes& sent) {
  Bytes heads;
  const std::string text(sent.begin(), sent.end());
  std::size_t begin = 0;
  const auto end = [&](std::uint16_t number) {
    const Bytes tail = U16(number) + FromText("ZZZZ");
    const std::size_t found = text.find(std::string(tail.begin(), tail.end()), begin);
    return found == std::string::npos ? found : found + tail.size();
  };
  begin = end(0x0102);
  for (std::uint16_t number = 0xF001; begin < text.size(); ++number) {
    heads.insert(heads.end(), sent.begin() + static_cast<std::ptrdiff_t>(begin),
                 sent.begin() + static_cast<std::ptrdiff_t>(begin) + 8);
    begin = end(number);
  }
  return heads;
}

bool EndsWith(const Bytes& bytes, const Bytes& end) {
  return bytes.size() >= end.size() && std::equal(end.rbegin(), end.rend(), bytes.rbegin());
}

TEST(Items, whichever_call_fails_nothing_leaks_and_every_request_is_answered) {
  TestPhone phone(PhoneWithItems());
  Names order;
  for (std::uint64_t n = 1; n < kVictims; ++n) {
    Bytes expected;
    const Bytes sent = RunFailing(phone, n, expected);
    const bool fired = phone->GetFaults().Fired();
    const std::string call = fired ? std::string(handset::InfoOf(*phone->GetFaults().FiredCall()).name) : "nothing";
    SCOPED_TRACE(std::to_string(n) + ": " + call);
    EXPECT_EQ(ToHex(Heads(sent)), ToHex(expected));
    EXPECT_TRUE(phone->GetLedger().EmptyExcept({Held::kComStart})) << phone->GetLedger().Text();
    DropLastApiError();
    if (!fired) break;
    // The next session is served, and gives the contact its picture back should it have lost it.
    phone->GetFaults().Clear();
    const Bytes next =
        Answer(HandshakeAndOpen() + Frame(3, 15, 0x0103, FromText("ABC")) + Frame(3, 17, 0x0104, U32(5)));
    EXPECT_TRUE(EndsWith(next, ResultFrame(3, 16, 0x0103, 0) + ResultFrame(3, 18, 0x0104, 0))) << ToHex(next);
    if (call != "LocalAlloc") order.push_back(call);
    ASSERT_FALSE(HasFailure());
  }
  Names expected;
  for (const Request& request : Requests(kFirstVictim)) Add(expected, request.order);
  EXPECT_EQ(Lines(order), Lines(expected));
}

}  // namespace
}  // namespace test
