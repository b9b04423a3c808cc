#include "tests/handset/Outlook.h"

namespace {

using nlohmann::json;
using test::Held;
using test::Outlook;
using test::Read;

// What a getter of a number, flag or date answers; its failure, and then nothing may have been put anywhere.
template <typename T, typename Get>
std::string Value(Get get) {
  T value{};
  const ce::HRESULT result = get(&value);
  if (result != ce::S_OK) {
    EXPECT_EQ(value, T{});
    return result == ce::E_FAIL ? "fails" : "fails otherwise";
  }
  return json(value).dump();
}
#define NUMBER(object, property) Value<ce::LONG>([&](ce::LONG* place) { return (object)->get_##property(place); })
#define DAY(object, property) Value<ce::DATE>([&](ce::DATE* place) { return (object)->get_##property(place); })
#define FLAG(object, property) \
  Value<ce::VARIANT_BOOL>([&](ce::VARIANT_BOOL* place) { return (object)->get_##property(place); })

TEST(Appointment, answers_every_property_and_odd_values_too) {
  Outlook outlook(R"({"appointments": [
    {"oid": 4000000000, "Subject": "s", "Location": "l", "Categories": "c", "Body": "b", "Start": "2009-07-13T09:00:00",
     "End": "2009-07-13T09:30:00", "Duration": 31, "AllDayEvent": true, "BusyStatus": 9, "Sensitivity": -3,
     "MeetingStatus": 2, "ReminderSet": true, "ReminderSoundFile": "r", "ReminderMinutesBeforeStart": 15,
     "ReminderOptions": 12, "Recipients": ["x"]}]})");
  const auto it = outlook.Appointment(4000000000);
  EXPECT_EQ(NUMBER(it, Oid), "-294967296");
  EXPECT_EQ(
      READ(it, Subject) + READ(it, Location) + READ(it, Categories) + READ(it, Body) + READ(it, ReminderSoundFile),
      u"slcbr");
  EXPECT_EQ(DAY(it, Start), "40007.375");
  EXPECT_EQ(DAY(it, End), json(40007 + 9.5 / 24).dump());
  EXPECT_EQ(NUMBER(it, Duration), "31");
  EXPECT_EQ(FLAG(it, AllDayEvent), "-1");
  EXPECT_EQ(FLAG(it, IsRecurring), "0");
  EXPECT_EQ(NUMBER(it, BusyStatus), "9");
  EXPECT_EQ(NUMBER(it, Sensitivity), "-3");
  EXPECT_EQ(NUMBER(it, MeetingStatus), "2");
  EXPECT_EQ(FLAG(it, ReminderSet), "-1");
  EXPECT_EQ(NUMBER(it, ReminderMinutesBeforeStart), "15");
  EXPECT_EQ(NUMBER(it, ReminderOptions), "12");
  Held<ce::IRecipients> recipients;
  EXPECT_EQ(it->get_Recipients(recipients.Place()), ce::S_OK);
  EXPECT_EQ(recipients->AddRef(), 2U);
  EXPECT_EQ(recipients->Release(), 1U);
}

TEST(Appointment, a_pattern_answers_what_it_has_and_fails_for_what_it_has_not) {
  Outlook outlook(R"({"appointments": [
    {"oid": 1, "Start": "2009-07-13T09:00:00", "Duration": 60, "Recurrence": {"RecurrenceType": 4, "Interval": 2,
      "DayOfWeekMask": 65, "DayOfMonth": 31, "MonthOfYear": 12, "Instance": 5, "PatternStartDate": "2009-07-01",
      "PatternEndDate": "2010-07-01", "Occurrences": 7}},
    {"oid": 2, "Start": "2009-07-13", "Recurrence": {"RecurrenceType": -1, "Interval": null,
      "DayOfWeekMask": null}}]})");
  Held<ce::IRecurrencePattern> full, bare;
  EXPECT_EQ(FLAG(outlook.Appointment(1), IsRecurring), "-1");
  ASSERT_EQ(outlook.Appointment(1)->GetRecurrencePattern(full.Place()), ce::S_OK);
  ASSERT_EQ(outlook.Appointment(2)->GetRecurrencePattern(bare.Place()), ce::S_OK);
  EXPECT_EQ(NUMBER(full, RecurrenceType) + NUMBER(full, Interval) + NUMBER(full, DayOfWeekMask), "4265");
  EXPECT_EQ(NUMBER(full, DayOfMonth) + NUMBER(full, MonthOfYear) + NUMBER(full, Instance), "31125");
  EXPECT_EQ(DAY(full, PatternStartDate) + " " + DAY(full, PatternEndDate), "39995.0 40360.0");
  EXPECT_EQ(DAY(full, StartTime), "0.375");
  EXPECT_EQ(FLAG(full, NoEndDate) + NUMBER(full, Occurrences), "07");
  EXPECT_EQ(NUMBER(bare, RecurrenceType), "-1");
  EXPECT_EQ(FLAG(bare, NoEndDate), "-1");
  EXPECT_EQ(DAY(bare, PatternEndDate), "fails");
  EXPECT_EQ(NUMBER(bare, Occurrences) + NUMBER(bare, Interval) + NUMBER(bare, DayOfWeekMask), "failsfailsfails");
}

}  // namespace
