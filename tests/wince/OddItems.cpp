#include "tests/wince/OddItems.h"

#include <fmt/format.h>

namespace test {
namespace {

using nlohmann::json;

constexpr unsigned kFirstContact = 40;  // their object ids
constexpr unsigned kFirstAppointment = 60;

// With fractions of a day, and with dates that are none.
double OddDate(Random& random) {
  if (random.OneIn(8)) return random.OneIn(2) ? 949998 : 3e6;
  return (random.Below(200000) - 60000.0) + random.Below(86400) / 86400.0;
}

json OddContact(Random& random, unsigned oid) {
  json contact{{"oid", oid}};
  if (random.OneIn(3)) contact["Birthday"] = OddDate(random);
  if (random.OneIn(4)) contact["Anniversary"] = OddDate(random);
  for (const char* name : {"FirstName", "LastName", "Email3Address", "FileAs", "Suffix", "BusinessAddressCountry",
                           "ManagerName", "IM2Address", "GovernmentIDNumber", "Body"}) {
    if (random.OneIn(3)) continue;
    const json text = OddText(random);
    if (!text.is_null() || std::string_view(name) == "Body") contact[name] = text;
  }
  if (random.OneIn(3)) contact["Picture"] = random.OneIn(2) ? "/9j/4AAQSkZJRgABAQEAYABgAAD/" : "TQ==";
  if (random.OneIn(6)) contact["getPropsAnswers"] = random.OneIn(2) ? 3 + random.Below(3) : 0x80004005U;
  if (random.OneIn(8)) contact["emptyPictureOpens"] = true;
  return contact;
}

// A value of an enumeration, mapped or not.
int OddKind(Random& random) { return static_cast<int>(random.Below(11)) - 2; }

json OddAppointment(Random& random, unsigned oid) {
  json appointment{{"oid", oid},
                   {"Start", OddDate(random)},
                   {"End", OddDate(random)},
                   {"Duration", static_cast<std::int32_t>(random.Word())},
                   {"AllDayEvent", random.OneIn(2)},
                   {"ReminderSet", random.OneIn(2)},
                   {"BusyStatus", OddKind(random)},
                   {"Sensitivity", OddKind(random)},
                   {"MeetingStatus", OddKind(random)}};
  for (const char* name : {"Subject", "Location", "Categories", "Body", "ReminderSoundFile"}) {
    const json text = OddText(random);
    if (!text.is_null()) appointment[name] = text;
  }
  if (random.OneIn(3)) return appointment;
  json& recurrence = appointment["Recurrence"];
  recurrence["RecurrenceType"] = OddKind(random);
  recurrence["PatternStartDate"] = OddDate(random);
  recurrence["NoEndDate"] = random.OneIn(2);
  for (const char* name : {"Occurrences", "Interval", "DayOfWeekMask"}) {
    recurrence[name] = random.OneIn(4) ? json(nullptr) : json(static_cast<std::int32_t>(random.Word()));
  }
  recurrence["PatternEndDate"] = random.OneIn(4) ? json(nullptr) : json(OddDate(random));
  for (const char* name : {"DayOfMonth", "MonthOfYear", "Instance"}) recurrence[name] = OddKind(random);
  return appointment;
}

// A document for a contact: well formed more often than not.
Bytes OddDocument(Random& random) {
  static const std::vector<std::string> elements{"<FirstName>Ann</FirstName>",
                                                 "<LastName></LastName>",
                                                 "<oid>7</oid>",
                                                 "<Birthday>19750409T000000Z</Birthday>",
                                                 "<Anniversary>45010101T000000Z</Anniversary>",
                                                 "<Birthday>20090230T000000Z</Birthday>",
                                                 "<FileAs>Filed\xC3\xA9</FileAs>",
                                                 "<FileAs></FileAs>",
                                                 "<Body>\xED\xA0\xBD\xED\xB8\x80 notes\r\n</Body>",
                                                 "<IM2Address>im</IM2Address>",
                                                 "<ManagerName>M</ManagerName>",
                                                 "<Spouse>\x80</Spouse>",
                                                 "<Title>\xE2</Title>",
                                                 "<Picture>AAAA</Picture>",
                                                 " \n",
                                                 "<GovernmentIDNumber>",
                                                 "x"};
  std::string text = "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n<contactentry>";
  for (unsigned i = random.Below(8); i > 0; --i) text += elements[random.Below(random.OneIn(6) ? 17 : 13)];
  if (random.OneIn(10)) text += "<JobTitle>" + std::string(250 + random.Below(10), 'j') + "</JobTitle>";
  if (!random.OneIn(10)) text += "</contactentry>";
  for (unsigned i = random.OneIn(6) ? 1 + random.Below(3) : 0; i > 0; --i) {
    text[random.Below(static_cast<unsigned>(text.size()))] = static_cast<char>(random.Word());
  }
  return FromText(text);
}

}  // namespace

json OddText(Random& random) {
  if (random.OneIn(6)) return nullptr;
  std::string hex;
  for (unsigned units = random.OneIn(8) ? random.Below(600) : random.Below(40); units > 0; --units) {
    const unsigned unit = random.OneIn(4) ? random.Below(0xFFFF) + 1 : 0x20 + random.Below(0x60);
    hex += fmt::format("{:04X}", unit);
  }
  return {{"utf16", hex}};
}

void AddOddItems(Random& random, json& phone) {
  for (unsigned i = random.Below(4); i > 0; --i) phone["contacts"].push_back(OddContact(random, kFirstContact + i));
  for (unsigned i = random.Below(4); i > 0; --i) {
    phone["appointments"].push_back(OddAppointment(random, kFirstAppointment + i));
  }
}

Bytes OddItemFrame(Random& random, std::uint16_t number) {
  const std::uint32_t place = random.Below(6);
  const std::uint32_t oid = random.Of(
      std::vector<std::uint32_t>{0, kFirstContact + 1, kFirstContact + 2, kFirstAppointment + 1, kFirstContact + 9});
  switch (random.Below(9)) {
    case 0:
      return Frame(random.OneIn(2) ? 3 : 4, random.OneIn(3) ? 3 : 1, number);
    case 1:
      return Frame(3, random.OneIn(6) ? 11 : 5, number, U32(oid));
    case 2:
    case 3:
      return Frame(3, 13, number, U32(oid) + OddDocument(random));
    case 4:
      return Frame(3, 15, number, Bytes(random.OneIn(4) ? random.Below(16000) : random.Below(100), 0xD8));
    case 5:
      return Frame(3, 17, number, U32(oid));
    case 6:
      return Frame(3, 9, number, U32(place));
    default:
      return Frame(4, 9, number, U32(place));
  }
}

}  // namespace test
