// Contacts of a served phone: out as vCards and into another phone, changed field by field, with pictures that nobody
// would take.
#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>

#include "desktop/Client.h"
#include "desktop/contacts/ContactsClient.h"
#include "tests/desktop/HostilePicture.h"
#include "tests/e2e/ServedPhone.h"

namespace test {
namespace {

using nlohmann::json;

// Every field of a contact, with what is hard about it.
const json kFull = {
    {"oid", 1},
    {"Birthday", "1970-05-01"},
    {"Anniversary", "1999-06-15T12:30:00"},
    {"FirstName", "Ada \U0001F600"},
    {"MiddleName", "King; of, \\ all"},
    {"LastName", "Lovelace"},
    {"HomeTelephoneNumber", "+1 555 0101"},
    {"Home2TelephoneNumber", "+1 555 0102"},
    {"MobileTelephoneNumber", "+1 555 0103"},
    {"CarTelephoneNumber", "+1 555 0104"},
    {"RadioTelephoneNumber", "+1 555 0105"},
    {"BusinessTelephoneNumber", "+1 555 0106"},
    {"Business2TelephoneNumber", "+1 555 0107"},
    {"HomeFaxNumber", "+1 555 0108"},
    {"BusinessFaxNumber", "+1 555 0109"},
    {"PagerNumber", "+1 555 0110"},
    {"Email1Address", "ada@example.org"},
    {"Email2Address", "lovelace@example.org"},
    {"Email3Address", "a.l@example.org"},
    {"AssistantName", "Bob"},
    {"AssistantTelephoneNumber", "+1 555 0111"},
    {"CompanyName", "Analytical Engines"},
    {"Department", "Programs"},
    {"OfficeLocation", "2nd floor"},
    {"JobTitle", "Engineer"},
    {"Spouse", "William"},
    {"Children", "Byron, Annabella, Ralph"},
    {"Categories", "Business, Friends"},
    {"WebPage", "http://example.org/?a=1;b=2,3"},
    {"Title", "Countess"},
    {"Suffix", "FRS"},
    {"HomeAddressStreet", "12 St James's Square\r\nLeft door"},
    {"HomeAddressCity", "London"},
    {"HomeAddressState", "Greater London"},
    {"HomeAddressPostalCode", "SW1Y 4JH"},
    {"HomeAddressCountry", "UK"},
    {"OtherAddressStreet", "Ockham Park"},
    {"OtherAddressCity", "Ockham"},
    {"OtherAddressState", "Surrey"},
    {"OtherAddressPostalCode", "GU23"},
    {"OtherAddressCountry", "UK "},
    {"BusinessAddressStreet", "1 Dorset Street"},
    {"BusinessAddressCity", "Marylebone"},
    {"BusinessAddressState", "Middlesex"},
    {"BusinessAddressPostalCode", "W1"},
    {"BusinessAddressCountry", "England"},
    {"FileAs", "Lovelace, Ada"},
    {"Body", "one\r\ntwo\nthree \u20AC"},
    {"ManagerName", "Charles"},
    {"NickName", "Enchantress, of Number"},
    {"AccountName", "account"},
    {"IM1Address", "ada@example.org"},
    {"IM2Address", "xmpp:ada@example.org"},
    {"IM3Address", "im:ada 100%"},
    {"CustomerID", "C-1"},
    {"GovernmentIDNumber", "G-1"},
    {"Picture", "/9j/4AAQSkZJRgABWlpaWlpaWlo="},
};
// What a request cannot carry, and few fields besides: order alone must not move a number.
const json kOdd = {{"oid", 2},
                   {"FirstName", "a < b & </FirstName> ZZZZ"},
                   {"NickName", {{"utf16", "d83d0041"}}},
                   {"Home2TelephoneNumber", "2"},
                   {"Email3Address", "3"},
                   {"FileAs", "odd"},
                   {"Body", std::string(3000, 'x')}};

// The description of a phone with these contacts.
json With(std::vector<json> contacts) { return json{{"contacts", std::move(contacts)}}; }

json ContactsOf(const std::string& folder) {
  const Outcome described = BrelixPhone({"describe", folder});
  EXPECT_EQ(described.code, 0) << described.err;
  return json::parse(described.out).value("contacts", json::array());
}

json WithoutOids(json contacts) {
  for (json& contact : contacts) contact.erase("oid");
  return contacts;
}

std::string Device(const PhoneFolder& phone) {
  return "exec:" BRELIX_PHONE_COMMAND " rapi " + phone.Path() + " --check-leaks";
}

Outcome Contacts(const PhoneFolder& phone, std::vector<std::string> arguments) {
  arguments.insert(arguments.begin(), {"-d", Device(phone), "contacts"});
  return Brelix(std::move(arguments));
}

TEST(Contacts, GoFromAPhoneThroughAVCardToAnotherPhoneUnchanged) {
  const PhoneFolder phone(With({kFull, kOdd}));
  ASSERT_EQ(ContactsOf(phone.Path()).size(), 2u);
  for (const char* version : {"3.0", "4.0"}) {
    const TemporaryFolder folder;
    const std::string file = (folder.Path() / "people.vcf").string();
    const std::string second = (folder.Path() / "phone").string();
    const Outcome exported = Contacts(phone, {"export", "--vcard", file, "--vcard-version", version});
    ASSERT_EQ(exported.code, 0) << exported.err;
    const Outcome made = BrelixPhone({"init", second, "--contacts", file});
    ASSERT_EQ(made.code, 0) << made.err;
    EXPECT_EQ(WithoutOids(ContactsOf(second)), WithoutOids(ContactsOf(phone.Path()))) << version;
  }
}

TEST(Contacts, PutWritesWhatTheWireCanCarry) {
  const PhoneFolder phone(With({kFull, kOdd}));
  const PhoneFolder other(json::object());
  const TemporaryFolder folder;
  const std::string file = (folder.Path() / "people.vcf").string();
  ASSERT_EQ(Contacts(phone, {"export", "--vcard", file}).code, 0);
  const Outcome put = Contacts(other, {"put", file});
  EXPECT_EQ(put.code, 11) << put.err;
  EXPECT_NE(put.err.find("card 2: not taken: FirstName holds a \"<\""), std::string::npos) << put.err;
  json expected = ContactsOf(phone.Path());
  expected.erase(1);
  EXPECT_EQ(WithoutOids(ContactsOf(other.Path())), WithoutOids(expected));
}

TEST(Contacts, SetChangesTheFieldsGivenAndNothingElse) {
  const PhoneFolder phone(With({kFull, kOdd}));
  const Outcome set =
      Contacts(phone, {"set", "1", "--JobTitle", "Programmer", "--Birthday", "1815-12-10", "--Spouse", ""});
  EXPECT_EQ(set.code, 0) << set.err;
  json expected = kFull;
  expected["JobTitle"] = "Programmer";
  expected["Birthday"] = "1815-12-10";
  expected.erase("Spouse");
  json found = ContactsOf(phone.Path());
  for (auto& [key, value] : expected.items()) EXPECT_EQ(found[0].value(key, json()), value) << key;
  EXPECT_EQ(found[0].value("Spouse", ""), "");
  EXPECT_EQ(Contacts(phone, {"set", "1", "--FileAs", ""}).code, 0);
  EXPECT_EQ(ContactsOf(phone.Path())[0].value("FileAs", ""), "");

  const json before = ContactsOf(phone.Path());
  EXPECT_EQ(Contacts(phone, {"set", "2", "--JobTitle", "x"}).code, 10) << "its name cannot be sent back";
  EXPECT_EQ(Contacts(phone, {"set", "1", "--JobTitle", "x", "--dry-run"}).code, 0);
  EXPECT_EQ(Contacts(phone, {"set", "3", "--JobTitle", "x"}).code, 8);
  EXPECT_EQ(Contacts(phone, {"rm", "3"}).code, 8);
  EXPECT_EQ(ContactsOf(phone.Path()), before);
  EXPECT_EQ(Contacts(phone, {"rm", "2", "1"}).code, 0);
  EXPECT_EQ(ContactsOf(phone.Path()).size(), 0u);
}

// Such a phone stops before the notes and says success.
TEST(Contacts, APhoneThatKeepsSomethingElseIsFoundOut) {
  const PhoneFolder phone(With({json{{"oid", 1}, {"FirstName", "Ada"}, {"FileAs", "Ada"}, {"Body", nullptr}}}));
  const Outcome set = Contacts(phone, {"set", "1", "--FirstName", "Eve", "--Body", "notes"});
  EXPECT_EQ(set.code, 11);
  EXPECT_NE(set.err.find("Body is \"\" instead of \"notes\""), std::string::npos) << set.err;
  EXPECT_EQ(ContactsOf(phone.Path())[0]["FirstName"], "Eve");
}

TEST(Contacts, AnAppointmentIsNoContactThatCouldBeDeleted) {
  const PhoneFolder phone(
      json{{"appointments", std::vector<json>{{{"oid", 7}, {"Subject", "Tea"}, {"Start", "2009-07-14T09:00:00"}}}}});
  EXPECT_EQ(Contacts(phone, {"rm", "7"}).code, 8);
  EXPECT_EQ(Contacts(phone, {"set", "7", "--FirstName", "x"}).code, 8);
  EXPECT_EQ(json::parse(BrelixPhone({"describe", phone.Path()}).out)["appointments"].size(), 1u);
}

// Whatever a picture holds, the phone keeps exactly it, and every other contact.
RC_GTEST_PROP(Contacts, NoPictureReachesThePhoneAsAnythingElse, ()) {
  using namespace brelix;
  static const PhoneFolder phone(
      With({json{{"oid", 1}, {"FirstName", "victim"}}, json{{"oid", 2}, {"FirstName", "face"}}}));
  static Session session(Connect(Device(phone), Clock::now() + std::chrono::seconds(10), -1), {});
  static const bool started = (Client(session).Start(), true);
  RC_ASSERT(started);
  const Bytes picture = *brelix::test::HostilePicture();
  RC_PRE(picture.size() <= 524288);
  ContactsClient contacts(session);
  contacts.SetPicture(2, picture);
  RC_ASSERT(contacts.Count() == 2u);
  RC_ASSERT(contacts.At(1)[ContactField::kFirstName] == "victim");
  RC_ASSERT(contacts.At(1).picture.empty());
  RC_ASSERT(contacts.At(2).picture == picture);
}

// What an earlier desktop uploaded and never set does not become part of ours.
TEST(Contacts, APictureBeginsWithItself) {
  using namespace brelix;
  const PhoneFolder phone(With({json{{"oid", 1}, {"FirstName", "Ada"}}}));
  Session session(Connect(Device(phone), Clock::now() + std::chrono::seconds(10), -1), {});
  Client(session).Start();
  ContactsClient contacts(session);
  session.Answer(3, 15, brelix::Bytes{1, 2, 3});
  contacts.SetPicture(1, brelix::Bytes{4, 5});
  EXPECT_EQ(contacts.At(1).picture, (brelix::Bytes{4, 5}));
  contacts.SetPicture(1, {});
  EXPECT_TRUE(contacts.At(1).picture.empty());
}

}  // namespace
}  // namespace test
