#include "tests/handset/Outlook.h"

namespace {

using nlohmann::json;
using test::Held;
using test::ItemOf;
using test::Outlook;
using test::Put;
using test::Read;

constexpr ce::HRESULT kAccessDenied = ce::Hresult(0x80070005);

#define PUT(contact, property, text) Put([&](ce::BSTR made) { return (contact)->put_##property(made); }, text)

ce::INT Count(const Held<ce::IPOutlookItemCollection>& items) {
  ce::INT count = -1;
  EXPECT_EQ(items->get_Count(&count), ce::S_OK);
  return count;
}

// The object id of the item at a place, or the failure.
ce::LONG OidAt(const Held<ce::IPOutlookItemCollection>& items, ce::INT index) {
  ce::IDispatch* item = reinterpret_cast<ce::IDispatch*>(1);
  const ce::HRESULT result = items->Item(index, &item);
  if (result != ce::S_OK) {
    EXPECT_EQ(item, nullptr);
    return result;
  }
  const Held contact(static_cast<ce::IContact*>(item));
  ce::LONG oid = 0;
  EXPECT_EQ(contact->get_Oid(&oid), ce::S_OK);
  return oid;
}

TEST(Contact, a_collection_counts_from_1_and_follows_what_is_added_and_deleted) {
  Outlook outlook(R"({"contacts": [{"oid": 4294967290}, {"oid": 3}, {"oid": 20}],
                                  "appointments": [{"oid": 5, "Start": 1}]})");
  const auto items = outlook.Items(ce::olFolderContacts);
  EXPECT_EQ(Count(items), 3);
  EXPECT_EQ(OidAt(items, 1), 3);
  EXPECT_EQ(OidAt(items, 3), static_cast<ce::LONG>(4294967290U));
  for (const ce::INT index : {0, 4, -1, std::numeric_limits<ce::INT>::min()}) {
    EXPECT_EQ(OidAt(items, index), ce::E_INVALIDARG) << index;
  }
  ce::IDispatch* added = nullptr;
  ASSERT_EQ(items->Add(&added), ce::S_OK);
  Held contact(static_cast<ce::IContact*>(added));
  EXPECT_EQ(Count(items), 3) << "not saved yet";
  EXPECT_EQ(contact->Save(), ce::S_OK);
  EXPECT_EQ(OidAt(items, 4), static_cast<ce::LONG>(4294967291U));
  EXPECT_EQ(outlook.Contact(3)->Delete(), ce::S_OK);
  EXPECT_EQ(OidAt(items, 1), 20);
  EXPECT_EQ(Count(items), 3);
  EXPECT_EQ(Count(outlook.Items(ce::olFolderCalendar)), 1);
  ce::IDispatch* gone = nullptr;
  for (const ce::LONG oid : {0, 3, -1}) {
    EXPECT_EQ(outlook.App().GetItemFromOid(oid, &gone), ce::E_INVALIDARG) << oid;
    EXPECT_EQ(gone, nullptr);
  }
}

TEST(Contact, a_deleted_one_can_neither_be_saved_nor_deleted_again) {
  Outlook outlook(R"({"contacts": [{"oid": 1}]})");
  const auto first = outlook.Contact(1), second = outlook.Contact(1);
  EXPECT_EQ(first->Delete(), ce::S_OK);
  for (const auto* contact : {&first, &second}) {
    EXPECT_EQ((*contact)->Save(), ce::E_FAIL);
    EXPECT_EQ((*contact)->Delete(), ce::E_FAIL);
  }
  EXPECT_EQ(Count(outlook.Items(ce::olFolderContacts)), 0);
}

TEST(Contact, what_is_put_is_there_after_save_for_everybody) {
  Outlook outlook(R"({"contacts": [{"oid": 1, "JobTitle": "Baker", "Body": null}]})");
  {
    const auto contact = outlook.Contact(1);
    EXPECT_EQ(READ(contact, JobTitle), u"Baker");
    EXPECT_EQ(READ(contact, Spouse), u"");
    EXPECT_EQ(READ(contact, Body), u"S_FALSE ");
    ce::DATE date = 0;
    EXPECT_EQ(contact->get_Birthday(&date), ce::S_OK);
    EXPECT_EQ(date, 949998.0) << "1 January 4501";
    EXPECT_EQ(contact->put_Birthday(-1.25), ce::S_OK);
    EXPECT_EQ(contact->put_Anniversary(949998.0), ce::S_OK);
    EXPECT_EQ(PUT(contact, JobTitle, u""), ce::S_OK);
    EXPECT_EQ(PUT(contact, Spouse, u"\xD800 half"), ce::S_OK);
    EXPECT_EQ(PUT(contact, Body, u""), ce::S_OK);
    EXPECT_EQ(READ(outlook.Contact(1), JobTitle), u"Baker") << "not saved yet";
    EXPECT_EQ(contact->Save(), ce::S_OK);
    EXPECT_EQ(READ(outlook.Contact(1), Spouse), u"\xD800 half");
    EXPECT_EQ(READ(outlook.Contact(1), Body), u"");
  }
  EXPECT_EQ(outlook.Phone()->Describe()["contacts"][0],
            json::parse(R"({"oid": 1, "Birthday": "1899-12-29T06:00:00", "Spouse": {"utf16":
              "D800002000680061006C0066"}})"));
}

TEST(Contact, a_name_to_file_it_under_is_made_up_when_none_was_put) {
  Outlook outlook(R"({"contacts": [
    {"FirstName": "Ada", "LastName": "Example", "CompanyName": "Mills"}, {"FirstName": "Ada"}, {"LastName": "Example"},
    {"CompanyName": "Mills"}, {}, {"FirstName": "Ada", "FileAs": ""}, {"FirstName": "Ada", "FileAs": "Me"}]})");
  const char16_t* const kExpected[] = {u"Example, Ada", u"Ada", u"Example", u"Mills", u"", u"", u"Me"};
  for (std::uint32_t oid = 1; const char16_t* expected : kExpected) {
    EXPECT_EQ(READ(outlook.Contact(oid++), FileAs), expected);
  }
}

TEST(Contact, its_item_reads_and_sets_texts_by_id) {
  Outlook outlook(R"({"contacts": [{"ManagerName": "M", "NickName": ""}]})");
  const auto contact = outlook.Contact(1);
  const auto item = ItemOf(contact);
  EXPECT_EQ(item->AddRef(), 3U) << "the references of an object are counted together";
  EXPECT_EQ(item->Release(), 2U);
  const ce::CEPROPID ids[] = {ce::PIMPR_NICKNAME, ce::PIMPR_MANAGER, ce::PIMPR_CUSTOMERID, 0x3001001F};
  ce::CEPROPVAL* values = nullptr;
  ce::ULONG size = 0;
  ASSERT_EQ(item->GetProps(ids, ce::CEDB_ALLOWREALLOC, 4, &values, &size, ce::GetProcessHeap()), ce::S_OK);
  EXPECT_EQ(values[1].propid, ce::PIMPR_MANAGER);
  EXPECT_EQ(std::u16string(values[0].val.lpwstr), u"");
  EXPECT_EQ(std::u16string(values[1].val.lpwstr), u"M");
  EXPECT_EQ(values[0].wFlags | values[1].wFlags, 0);
  EXPECT_EQ(values[2].wFlags, ce::CEDB_PROPNOTFOUND);
  EXPECT_EQ(values[3].wFlags, ce::CEDB_PROPNOTFOUND);
  EXPECT_NE(ce::HeapFree(ce::GetProcessHeap(), 0, values), 0);
  EXPECT_EQ(item->GetProps(ids, 0, 4, &values, &size, ce::GetProcessHeap()), ce::E_INVALIDARG);
  EXPECT_EQ(item->GetProps(ids, ce::CEDB_ALLOWREALLOC, 4, &values, &size, ce::kNoHandle), ce::E_OUTOFMEMORY);

  char16_t text[] = u"C";
  ce::CEPROPVAL set[] = {{ce::PIMPR_CUSTOMERID, 0, 0, {.lpwstr = text}}, {ce::PIMPR_MANAGER, 0, 0x0200, {}}};
  EXPECT_EQ(item->SetProps(0, 2, set), ce::S_OK);
  EXPECT_EQ(item->SetProps(0, 1, set), ce::S_FALSE) << "it was so already";
  set[1].propid = ce::PIMPR_PICTURE;
  EXPECT_EQ(item->SetProps(0, 2, set), ce::S_FALSE) << "a stream";
  EXPECT_EQ(item->Save(), ce::S_OK);
  EXPECT_EQ(outlook.Phone()->Describe()["contacts"][0],
            json::parse(R"({"oid": 1, "NickName": "", "CustomerID": "C"})"));
}

TEST(Contact, get_props_answers_what_the_description_says) {
  Outlook outlook(R"({"contacts": [{"IM1Address": "a", "getPropsAnswers": 3}, {"getPropsAnswers": 5},
                                               {"getPropsAnswers": "0x80070057"}]})");
  const ce::CEPROPID id = ce::PIMPR_IM1_ADDRESS;
  for (const auto& [oid, answer] : {std::pair{1U, 3}, {2U, 5}, {3U, ce::E_INVALIDARG}}) {
    const auto item = ItemOf(outlook.Contact(oid));
    ce::CEPROPVAL* values = nullptr;
    EXPECT_EQ(item->GetProps(&id, ce::CEDB_ALLOWREALLOC, 1, &values, nullptr, ce::GetProcessHeap()), answer);
    EXPECT_EQ(values == nullptr, answer < 0);
    if (oid == 1) {
      EXPECT_EQ(std::u16string(values->val.lpwstr), u"a");
    }
    ce::HeapFree(ce::GetProcessHeap(), 0, values);
  }
}

// What the stream of a contact's picture holds, or the failure to open it.
std::string ReadPicture(Outlook& outlook, std::uint32_t oid) {
  const auto item = ItemOf(outlook.Contact(oid));
  Held<ce::IStream> stream;
  const ce::HRESULT opened = item->OpenProperty(ce::PIMPR_PICTURE, ce::GENERIC_READ, stream.Place());
  if (opened == kAccessDenied) return "denied";
  EXPECT_EQ(opened, ce::S_OK);
  ce::ULARGE_INTEGER size{};
  EXPECT_EQ(stream->Seek({}, ce::STREAM_SEEK_END, &size), ce::S_OK);
  EXPECT_EQ(stream->Seek({}, ce::STREAM_SEEK_SET, nullptr), ce::S_OK);
  std::string bytes(size.LowPart + 10, '?');
  ce::ULONG read = 0;
  EXPECT_EQ(stream->Read(bytes.data(), static_cast<ce::ULONG>(bytes.size()), &read), ce::S_OK);
  EXPECT_EQ(read, size.LowPart);
  EXPECT_EQ(stream->Write("x", 1, nullptr), ce::Hresult(0x80030005));
  bytes.resize(read);
  return bytes;
}

TEST(Contact, a_picture_is_written_by_commit_and_save) {
  Outlook outlook(R"({"contacts": [{"Picture": "b2xkIHBpY3R1cmU="}, {}, {"emptyPictureOpens": true}]})");
  EXPECT_EQ(ReadPicture(outlook, 1), "old picture");
  EXPECT_EQ(ReadPicture(outlook, 2), "denied");
  EXPECT_EQ(ReadPicture(outlook, 3), "");
  for (const bool committed : {false, true}) {
    const auto item = ItemOf(outlook.Contact(1));
    Held<ce::IStream> stream, second;
    ASSERT_EQ(item->OpenProperty(ce::PIMPR_PICTURE, ce::GENERIC_WRITE, stream.Place()), ce::S_OK);
    EXPECT_EQ(item->OpenProperty(ce::PIMPR_PICTURE, ce::GENERIC_READ, second.Place()), kAccessDenied)
        << "one at a time";
    EXPECT_EQ(stream->Write("new", 3, nullptr), ce::S_OK);
    EXPECT_EQ(stream->SetSize({3, 0}), ce::S_OK);
    if (committed) {
      EXPECT_EQ(stream->Commit(0), ce::S_OK);
    }
    stream.Release();
    EXPECT_EQ(ReadPicture(outlook, 1), "old picture") << "not saved yet";
    EXPECT_EQ(item->Save(), ce::S_OK);
    EXPECT_EQ(ReadPicture(outlook, 1), committed ? "new" : "old picture");
  }
  const auto contact = outlook.Contact(1);
  EXPECT_EQ(PUT(contact, Title, u"x"), ce::S_OK);
  EXPECT_EQ(contact->Save(), ce::S_OK);
  EXPECT_EQ(ReadPicture(outlook, 1), "new") << "saving other properties leaves it alone";
}

TEST(Contact, a_picture_goes_with_its_last_byte_and_its_contact) {
  Outlook outlook(R"({"contacts": [{"Picture": "QUJD"}, {"Picture": "QUJD"}]})");
  {
    const auto item = ItemOf(outlook.Contact(1));
    Held<ce::IStream> stream;
    ASSERT_EQ(item->OpenProperty(ce::PIMPR_PICTURE, ce::GENERIC_WRITE, stream.Place()), ce::S_OK);
    for (const ce::ULARGE_INTEGER size : {ce::ULARGE_INTEGER{0, 1}, {65U << 20, 0}}) {
      EXPECT_EQ(stream->SetSize(size), ce::Hresult(0x80030070));
    }
    EXPECT_EQ(stream->Seek({0xFFFFFFFF, -1}, ce::STREAM_SEEK_SET, nullptr), ce::Hresult(0x80030001));
    EXPECT_EQ(stream->Seek({0, 0x7FFFFFFF}, ce::STREAM_SEEK_END, nullptr), ce::Hresult(0x80030001));
    EXPECT_EQ(stream->SetSize({0, 0}), ce::S_OK);
    EXPECT_EQ(stream->Commit(0), ce::S_OK);
    EXPECT_EQ(item->Save(), ce::S_OK);
  }
  EXPECT_EQ(ReadPicture(outlook, 1), "denied");
  EXPECT_EQ(outlook.Contact(2)->Delete(), ce::S_OK);
  EXPECT_EQ(outlook.Phone()->Describe()["contacts"], json::parse(R"([{"oid": 1}])"));
}

TEST(Contact, saved_through_both_interfaces_it_is_one_change) {
  Outlook outlook(R"({"contacts": [{"oid": 1, "LastName": "old", "ManagerName": "old"}]})");
  // As another program sees it: what is on the disk.
  const auto stored = [&] { return handset::Handset::Open(outlook.Phone().Folder())->Describe()["contacts"][0]; };
  const json before = stored();
  {
    const auto contact = outlook.Contact(1);
    PUT(contact, LastName, u"new");
    EXPECT_EQ(contact->Save(), ce::S_OK);
    EXPECT_EQ(stored(), before);
    const auto item = ItemOf(contact);
    char16_t text[] = u"new";
    ce::CEPROPVAL set{ce::PIMPR_MANAGER, 0, 0, {.lpwstr = text}};
    EXPECT_EQ(item->SetProps(0, 1, &set), ce::S_OK);
    EXPECT_EQ(stored(), before);
    EXPECT_EQ(item->Save(), ce::S_OK);
    EXPECT_EQ(stored(), json::parse(R"({"oid": 1, "LastName": "new", "ManagerName": "new"})"));
    PUT(contact, LastName, u"newer");
    EXPECT_EQ(contact->Save(), ce::S_OK);
  }
  EXPECT_EQ(stored()["LastName"], "newer") << "the last reference was given back";
}

TEST(Contact, calls_fail_on_request_and_an_object_that_others_hold_lives_on) {
  Outlook outlook(R"({"contacts": [{"oid": 1, "Title": "Dr."}]})");
  auto& phone = outlook.Phone();
  auto contact = outlook.Contact(1);
  phone.FailCall("IContact::get_Title", 0x8007000E);
  EXPECT_EQ(READ(contact, Title), u"failed ");
  EXPECT_EQ(READ(contact, Title), u"Dr.");
  phone.FailCall("IContact::QueryInterface");
  ce::IItem* item = nullptr;
  EXPECT_EQ(contact->QueryInterface(ce::IID_IItem, reinterpret_cast<void**>(&item)), ce::E_NOINTERFACE);
  EXPECT_EQ(item, nullptr);
  phone.FailCall("IContact::Save", 0x80070070);
  EXPECT_EQ(contact->Save(), ce::Hresult(0x80070070));
  phone.FailCall("IItem::Release", 2);
  item = ItemOf(contact).Get();
  EXPECT_EQ(READ(contact, Title), u"Dr.") << "still alive";
  EXPECT_EQ(contact->QueryInterface(ce::IID_IAppointment, reinterpret_cast<void**>(&item)), ce::E_NOINTERFACE);
}

}  // namespace
