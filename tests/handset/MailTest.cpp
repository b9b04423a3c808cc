// Message stores, the call log and text messages as a phone's programs meet them.
#include <gtest/gtest.h>

#include "handset/phone/GsmText.h"
#include "handset/phone/Outbox.h"
#include "platform/CallLog.h"
#include "platform/Kernel.h"
#include "platform/Mapi.h"
#include "platform/Sms.h"
#include "tests/support/TestPhone.h"

namespace {

using handset::Held;
using nlohmann::json;
using test::BarePhone;

// A session, and the folder "F" of the account "A".
class Mail {
 public:
  Mail() {
    EXPECT_EQ(ce::MAPIInitialize(nullptr), ce::S_OK);
    EXPECT_EQ(ce::MAPILogonEx(0, nullptr, nullptr, 0, &session), ce::S_OK);
  }
  ~Mail() {
    session->Logoff(0, 0, 0);
    session->Release();
    ce::MAPIUninitialize();
  }

  template <typename Interface>
  Interface* Open(const ce::SPropValue& id) {
    ce::IUnknown* object = nullptr;
    EXPECT_EQ(session->OpenEntry(id.Value.bin.cb, reinterpret_cast<ce::ENTRYID*>(id.Value.bin.lpb), nullptr, 0, nullptr,
                                 &object),
              ce::S_OK);
    return static_cast<Interface*>(object);
  }

  ce::IMAPISession* session = nullptr;
};

ce::SRowSet* Read(ce::IMAPITable* table, ce::LONG count) {
  ce::SRowSet* rows = nullptr;
  EXPECT_EQ(table->QueryRows(count, 0, &rows), ce::S_OK);
  return rows;
}

void Free(ce::SRowSet* rows) {
  if (rows->cRows == 0) {
    ce::MAPIFreeBuffer(rows);
  } else {
    ce::FreeProws(rows);
  }
}

// The texts of the rows' first columns, "-" for an error, until the table ends.
std::string FirstColumns(ce::IMAPITable* table) {
  std::string read;
  for (;;) {
    ce::SRowSet* rows = Read(table, 3);
    const ce::ULONG count = rows->cRows;
    for (ce::ULONG i = 0; i < count; ++i) {
      const ce::SPropValue& value = rows->aRow[i].lpProps[0];
      const bool isError = (value.ulPropTag & 0xFFFF) == ce::PT_ERROR;
      if (isError) {
        EXPECT_EQ(value.Value.err, ce::MAPI_E_NOT_FOUND);
      }
      read += isError ? "-" : std::string(1, static_cast<char>(value.Value.lpszW[0]));
    }
    Free(rows);
    if (count == 0) return read;
  }
}

TEST(Mapi, tables_read_sort_and_end_as_a_phones_do) {
  BarePhone phone(json::parse(R"({"accounts": [{"name": "A", "folders": [{"name": "F", "messages": [
    {"subject": "a"}, {"subject": "b", "delivered": "2009-07-11T00:00:00Z"},
    {"subject": "c", "delivered": "2009-07-12T00:00:00Z"}, {"delivered": "2009-07-11T00:00:00Z"}]}]}]})"));
  Mail mail;
  ce::IMAPITable* stores = nullptr;
  ASSERT_EQ(mail.session->GetMsgStoresTable(0, &stores), ce::S_OK);
  ce::SRowSet* row = Read(stores, 1);
  ASSERT_EQ(row->cRows, 1U);
  ASSERT_EQ(row->aRow[0].cValues, 3U);
  auto* root = mail.Open<ce::IMAPIFolder>(row->aRow[0].lpProps[2]);
  ce::IUnknown* nothing = nullptr;
  EXPECT_LT(mail.session->OpenEntry(3, reinterpret_cast<ce::ENTRYID*>(row->aRow[0].lpProps[1].Value.bin.lpb), nullptr,
                                    0, nullptr, &nothing),
            0);
  Free(row);
  for (const ce::LONG count : {-1, 0, 11}) EXPECT_EQ(stores->QueryRows(count, 0, &row), ce::E_INVALIDARG);

  ce::IMAPITable* hierarchy = nullptr;
  ASSERT_EQ(root->GetHierarchyTable(0, &hierarchy), ce::S_OK);
  row = Read(hierarchy, 10);
  auto* folder = mail.Open<ce::IMAPIFolder>(row->aRow[0].lpProps[1]);
  Free(row);
  ce::IMAPITable* contents = nullptr;
  ASSERT_EQ(folder->GetContentsTable(0, &contents), ce::S_OK);
  const ce::SPropTagArray subject{1, {ce::PR_SUBJECT}};
  ASSERT_EQ(contents->SetColumns(&subject, 0), ce::S_OK);
  EXPECT_EQ(FirstColumns(contents), "abc-");
  EXPECT_EQ(FirstColumns(contents), "");
  ce::SSortOrderSet order{1, 0, 0, {{ce::PR_MESSAGE_DELIVERY_TIME, ce::TABLE_SORT_DESCEND}}};
  ASSERT_EQ(contents->SortTable(&order, 0), ce::S_OK);
  EXPECT_EQ(FirstColumns(contents), "cb-a");
  order.aSort[0].ulOrder = ce::TABLE_SORT_ASCEND;
  ASSERT_EQ(contents->SortTable(&order, 0), ce::S_OK);
  EXPECT_EQ(FirstColumns(contents), "ab-c");
  order.aSort[0].ulPropTag = ce::PR_SUBJECT;
  EXPECT_LT(contents->SortTable(&order, 0), 0);

  const ce::SPropTagArray missing{1, {ce::PR_SENDER_NAME}};
  ce::SPropValue* values = nullptr;
  ce::ULONG count = 0;
  EXPECT_EQ(folder->GetProps(&missing, ce::MAPI_UNICODE, &count, &values), ce::MAPI_W_ERRORS_RETURNED);
  EXPECT_EQ(count, 1U);
  EXPECT_EQ(values[0].ulPropTag, 0x0C1A000AU);
  ce::MAPIFreeBuffer(values);
  for (ce::IUnknown* object : std::initializer_list<ce::IUnknown*>{contents, folder, hierarchy, root, stores}) {
    EXPECT_EQ(object->Release(), 0U);
  }
}

// FreeProws and MAPIFreeBuffer are not the same: what is freed by the wrong one stays held.
TEST(Mapi, rows_are_freed_by_the_call_that_is_theirs) {
  BarePhone phone(json{{"accounts", {{{"name", "A"}}}}});
  Mail mail;
  ce::IMAPITable* stores = nullptr;
  ASSERT_EQ(mail.session->GetMsgStoresTable(0, &stores), ce::S_OK);
  ce::SRowSet* full = Read(stores, 1);
  ce::SRowSet* empty = Read(stores, 1);
  ASSERT_EQ(empty->cRows, 0U);
  ce::FreeProws(empty);
  EXPECT_EQ(phone->GetLedger().Count(Held::kMapiBuffer), 2U);
  ce::MAPIFreeBuffer(empty);
  ce::FreeProws(full);
  EXPECT_EQ(phone->GetLedger().Count(Held::kMapiBuffer) + phone->GetLedger().Count(Held::kMapiRows), 0U);
  stores->Release();
}

TEST(CallLog, gives_the_newest_first_moves_on_and_seeks_from_both_ends) {
  BarePhone phone(json::parse(R"({"calls": [
    {"start": "2009-07-11T00:00:00Z", "number": "b"}, {"start": "2009-07-12T00:00:00Z", "number": "a", "note": "n"},
    {"start": "2009-07-11T00:00:00Z", "number": "c"}]})"));
  ce::HANDLE log{};
  ASSERT_EQ(ce::PhoneOpenCallLog(&log), ce::S_OK);
  const auto next = [&] {
    ce::CALLLOGENTRY entry{};
    entry.cbSize = sizeof entry;
    const ce::HRESULT result = ce::PhoneGetCallLogEntry(log, &entry);
    if (result != ce::S_OK) return std::to_string(result);
    const std::string number(1, static_cast<char>(entry.pszNumber[0]));
    for (ce::WCHAR* text : {entry.pszNumber, entry.pszName, entry.pszNameType, entry.pszNote}) ce::LocalFree(text);
    return number;
  };
  std::string read;
  for (int i = 0; i < 5; ++i) read += next();
  EXPECT_EQ(read, "abc11");
  ce::DWORD reached = 9;
  EXPECT_EQ(ce::PhoneSeekCallLog(log, ce::CALLLOGSEEK_END, 1, &reached), ce::S_OK);
  EXPECT_EQ(reached, 1U);
  EXPECT_EQ(next(), "b");
  EXPECT_EQ(ce::PhoneSeekCallLog(log, ce::CALLLOGSEEK_BEGINNING, 3, &reached), ce::E_FAIL);
  EXPECT_EQ(ce::PhoneSeekCallLog(log, 3, 0, &reached), ce::E_INVALIDARG);
  ce::CALLLOGENTRY wrong{};
  EXPECT_EQ(ce::PhoneGetCallLogEntry(log, &wrong), ce::E_INVALIDARG);
  EXPECT_EQ(ce::PhoneCloseCallLog(log), ce::S_OK);
}

TEST(FileTimes, are_taken_apart_to_the_ends_of_their_range) {
  BarePhone phone(json{{"clock", {{"localTime", "2009-01-01T00:00:00"}, {"utcOffsetMinutes", -60}}}});
  const auto year = [](std::uint64_t time) {
    const ce::FILETIME record{static_cast<ce::DWORD>(time), static_cast<ce::DWORD>(time >> 32)};
    ce::SYSTEMTIME system{};
    return ce::FileTimeToSystemTime(&record, &system) != 0 ? system.wYear : 0;
  };
  EXPECT_EQ(year(0), 1601);
  EXPECT_EQ(year(0x7FFF35F4F06C58EF), 30827);
  EXPECT_EQ(year(0x7FFF35F4F06C58F0), 0);
  EXPECT_EQ(year(0x8000000000000000), 0);
  const ce::FILETIME early{1, 0};
  ce::FILETIME local{};
  EXPECT_EQ(ce::FileTimeToLocalFileTime(&early, &local), 0);
  const ce::FILETIME late{0, 0x01CA0000};
  EXPECT_EQ(ce::FileTimeToLocalFileTime(&late, &local), 1);
  EXPECT_EQ(
      (std::uint64_t{late.dwHighDateTime} << 32) - (std::uint64_t{local.dwHighDateTime} << 32 | local.dwLowDateTime),
      36'000'000'000U);
}

TEST(Sms, a_message_is_on_the_disk_when_its_id_is_told) {
  const test::TemporaryFolder folder;
  handset::Handset::Init(folder.Path() / "phone",
                         {{"clock", {{"localTime", "2020-01-02T03:04:05"}, {"utcOffsetMinutes", 60}}}});
  ce::DWORD id = 0;
  const auto send = [&](std::u16string_view text, const ce::SMS_ADDRESS* centre) {
    const auto phone = handset::Handset::Open(folder.Path() / "phone");
    const handset::CurrentPhone current(*phone);
    ce::SMS_HANDLE handle{};
    EXPECT_EQ(ce::SmsOpen(u"Microsoft Text SMS Protocol", ce::SMS_MODE_SEND, &handle, nullptr), ce::S_OK);
    const ce::SMS_ADDRESS to{1, u"+15550101"};
    ce::TEXT_PROVIDER_SPECIFIC_DATA provider{};
    provider.dwMessageOptions = 2;
    const auto* data = reinterpret_cast<const ce::BYTE*>(text.data());
    const auto size = static_cast<ce::DWORD>(text.size() * 2);
    EXPECT_EQ(ce::SmsSendMessage(handle, centre, &to, nullptr, data, size, reinterpret_cast<ce::BYTE*>(&provider), 687,
                                 0, 0, &id),
              ce::Hresult(0x82000103));
    EXPECT_EQ(ce::SmsSendMessage(handle, centre, &to, nullptr, data, size, reinterpret_cast<ce::BYTE*>(&provider),
                                 sizeof provider, 0, 0, &id),
              ce::S_OK);
    EXPECT_EQ(ce::SmsClose(handle), ce::S_OK);
    EXPECT_NE(ce::SmsClose(handle), ce::S_OK);
  };
  send(u"caf\u00e9", nullptr);
  EXPECT_EQ(id, 1U);
  const ce::SMS_ADDRESS centre{1, u"+15550000"};
  send(u"\u4e00", &centre);
  EXPECT_EQ(id, 2U);
  const auto phone = handset::Handset::Open(folder.Path() / "phone");
  const json outbox = handset::ListOutbox(*phone);
  ASSERT_EQ(outbox.size(), 2U);
  EXPECT_EQ(outbox[0]["sent"], "2020-01-02T02:04:05Z");
  EXPECT_EQ(outbox[0]["alphabet"], "GSM 7-bit");
  EXPECT_FALSE(outbox[0].contains("serviceCentre"));
  EXPECT_EQ(outbox[1]["serviceCentre"], "+15550000");
  EXPECT_EQ(outbox[1]["alphabet"], "UCS-2");
  EXPECT_EQ(outbox[1]["report"], true);
  EXPECT_EQ(phone->Describe()["accounts"][0]["folders"][0]["messages"].size(), 2U);
}

TEST(Sms, texts_are_measured_in_parts) {
  const struct {
    std::u16string text;
    std::uint32_t encoding, units, parts;
    bool sevenBit;
  } kCases[] = {
      {u"", 0, 0, 1, true},
      {std::u16string(160, u'a'), 0, 160, 1, true},
      {std::u16string(161, u'a'), 0, 161, 2, true},
      {std::u16string(306, u'a'), 0, 306, 2, true},
      {std::u16string(307, u'a'), 0, 307, 3, true},
      {std::u16string(80, u'\u20ac'), 0, 160, 1, true},
      // The two septets of a character stay together: 152 of 153 are used in each part.
      {std::u16string(153, u'['), 0, 306, 3, true},
      {u"`", 0, 1, 1, false},
      {std::u16string(70, u'\u0159'), 0, 70, 1, false},
      {std::u16string(71, u'\u0159'), 0, 71, 2, false},
      {std::u16string(66, u'\u0159') + u"\U0001F600" + std::u16string(66, u'x'), 0, 134, 3, false},
      {u"\u0159", 1, 1, 1, true},
      {u"a", 2, 1, 1, false},
  };
  for (const auto& row : kCases) {
    const handset::GsmText measured = handset::MeasureText(row.text, row.encoding);
    EXPECT_EQ(measured.units, row.units) << row.text.size();
    EXPECT_EQ(measured.parts, row.parts) << row.text.size();
    EXPECT_EQ(measured.sevenBit, row.sevenBit) << row.text.size();
  }
}

}  // namespace
