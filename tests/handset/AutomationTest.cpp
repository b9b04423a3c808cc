// System strings, dates and the process heap: what a phone's automation does with them.
#include <cmath>
#include <gtest/gtest.h>
#include <limits>

#include "handset/Phone.h"
#include "handset/com/Automation.h"
#include "handset/store/VariantDate.h"
#include "handset/system/Heap.h"
#include "platform/Automation.h"
#include "platform/Heap.h"
#include "platform/Kernel.h"
#include "tests/support/TestPhone.h"

namespace test {
namespace {

using handset::Held;

std::vector<int> Fields(const ce::SYSTEMTIME& time) {
  return {time.wYear, time.wMonth, time.wDay, time.wHour, time.wMinute, time.wSecond, time.wDayOfWeek};
}

TEST(Automation, dates_are_days_since_the_end_of_1899) {
  const struct {
    ce::DATE date;
    std::vector<int> fields;  // the day of the week last, Sunday 0
  } rows[] = {
      {0, {1899, 12, 30, 0, 0, 0, 6}},
      {1.25, {1899, 12, 31, 6, 0, 0, 0}},
      {-1.25, {1899, 12, 29, 6, 0, 0, 5}},
      {949998, {4501, 1, 1, 0, 0, 0, 6}},
      {43892.395833333336, {2020, 3, 2, 9, 30, 0, 1}},
      {-657434, {100, 1, 1, 0, 0, 0, 5}},
      {2958465.75, {9999, 12, 31, 18, 0, 0, 5}},
  };
  BarePhone phone;
  for (const auto& row : rows) {
    SCOPED_TRACE(row.date);
    ce::SYSTEMTIME time{};
    ASSERT_EQ(ce::VariantTimeToSystemTime(row.date, &time), 1);
    EXPECT_EQ(Fields(time), row.fields);
    ce::DATE back = 0;
    ASSERT_EQ(ce::SystemTimeToVariantTime(&time, &back), 1);
    EXPECT_DOUBLE_EQ(back, row.date);
  }
}

TEST(Automation, a_date_is_told_to_the_nearest_second) {
  BarePhone phone;
  ce::SYSTEMTIME time{};
  ASSERT_EQ(ce::VariantTimeToSystemTime(43892.99999999, &time), 1);
  EXPECT_EQ(Fields(time), (std::vector{2020, 3, 3, 0, 0, 0, 2}));
  for (int second = 0; second < 86400; ++second) {
    const ce::SYSTEMTIME exact{2020,
                               2,
                               6,
                               29,
                               static_cast<ce::WORD>(second / 3600),
                               static_cast<ce::WORD>(second / 60 % 60),
                               static_cast<ce::WORD>(second % 60),
                               999};
    const auto date = handset::ToDate(exact);
    ASSERT_TRUE(date);
    const auto back = handset::ToSystemTime(*date);
    ASSERT_TRUE(back);
    ASSERT_EQ(Fields(*back), (std::vector{2020, 2, 29, second / 3600, second / 60 % 60, second % 60, 6}));
  }
}

TEST(Automation, what_is_no_date_is_refused) {
  BarePhone phone;
  ce::SYSTEMTIME time{};
  for (const double date :
       {-657435.0, 2958466.0, 2958465.9999999, std::numeric_limits<double>::infinity(), std::nan("")}) {
    EXPECT_EQ(ce::VariantTimeToSystemTime(date, &time), 0) << date;
  }
  ce::DATE date = 0;
  for (ce::SYSTEMTIME wrong :
       {ce::SYSTEMTIME{99, 1, 0, 1, 0, 0, 0, 0}, ce::SYSTEMTIME{10000, 1, 0, 1, 0, 0, 0, 0},
        ce::SYSTEMTIME{2021, 2, 0, 29, 0, 0, 0, 0}, ce::SYSTEMTIME{2020, 13, 0, 1, 0, 0, 0, 0},
        ce::SYSTEMTIME{2020, 1, 0, 0, 0, 0, 0, 0}, ce::SYSTEMTIME{2020, 1, 0, 1, 24, 0, 0, 0},
        ce::SYSTEMTIME{2020, 1, 0, 1, 0, 60, 0, 0}, ce::SYSTEMTIME{2020, 1, 0, 1, 0, 0, 60, 0}}) {
    EXPECT_EQ(ce::SystemTimeToVariantTime(&wrong, &date), 0);
  }
}

TEST(Automation, system_strings_are_counted) {
  BarePhone phone;
  EXPECT_EQ(ce::SysAllocString(nullptr), nullptr);
  const ce::BSTR text = ce::SysAllocString(u"na\u00EFve");
  EXPECT_EQ(std::u16string(text), u"na\u00EFve");
  const ce::BSTR withZero = handset::NewSystemString(phone->GetPhone(), std::u16string_view(u"a\0b", 3));
  EXPECT_EQ(handset::TextOf(withZero), std::u16string_view(u"a\0b", 3));
  EXPECT_EQ(handset::TextOf(nullptr), u"");
  EXPECT_EQ(phone->GetLedger().Count(Held::kSystemString), 2u);
  ce::SysFreeString(text);
  ce::SysFreeString(withZero);
  ce::SysFreeString(nullptr);
  phone.FailCall("SysAllocString");
  EXPECT_EQ(ce::SysAllocString(u"a"), nullptr);
}

TEST(Automation, heap_blocks_are_counted_until_they_are_given_back) {
  BarePhone phone;
  const ce::HANDLE heap = ce::GetProcessHeap();
  ASSERT_NE(heap, ce::kNoHandle);
  void* block = handset::AllocateOnHeap(phone->GetPhone(), heap, 100);
  EXPECT_EQ(phone->GetLedger().Count(Held::kHeapBlock), 1u);
  EXPECT_EQ(ce::HeapFree(ce::HANDLE{4711}, 0, block), 0);
  EXPECT_EQ(ce::GetLastError(), 87u);
  EXPECT_EQ(ce::HeapFree(heap, 0, block), 1);
  EXPECT_EQ(handset::AllocateOnHeap(phone->GetPhone(), ce::HANDLE{4711}, 100), nullptr);
  // A refused block is no longer the caller's debt.
  block = handset::AllocateOnHeap(phone->GetPhone(), heap, 100);
  phone.FailCall("HeapFree");
  EXPECT_EQ(ce::HeapFree(heap, 0, block), 0);
  EXPECT_EQ(phone->GetLedger().Count(Held::kHeapBlock), 0u);
}

}  // namespace
}  // namespace test
