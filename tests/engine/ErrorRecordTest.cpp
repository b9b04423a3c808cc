#include <gtest/gtest.h>
#include <string>

#include "agent/engine/ErrorRecord.h"
#include "tests/support/TestPhone.h"

namespace test {
namespace {

TEST(ErrorRecord, is_shown_once_with_eight_upper_case_digits) {
  TestPhone phone;
  EXPECT_FALSE(Fail(u"CoCreateInstance", 0x8000abcd));
  ShowErrBox(u"Owner::Construct()");
  Fail(u"recv", 10054);
  ShowErrBox(u"CConnectionManager::Read()");
  ShowErrBox(u"Nothing()");
  EXPECT_EQ(phone.Boxes(),
            (std::vector<std::u16string>{u"Owner::Construct()|CoCreateInstance(): 8000ABCD",
                                         u"CConnectionManager::Read()|recv(): 00002746", u"Nothing()|Exception"}));
  for (const handset::ShownBox& box : phone->GetMessageBoxes().GetLog()) EXPECT_EQ(box.type, 16u);
  EXPECT_EQ(LastApiError(), nullptr);
}

TEST(ErrorRecord, without_a_name_says_so) {
  TestPhone phone;
  std::u16string name = u"select";
  const CApiError copied(name.c_str(), 1);
  name = u"recv!!";
  EXPECT_EQ(std::u16string(copied.GetFunctionName()), u"select");
  for (const char16_t* none : {static_cast<const char16_t*>(nullptr), u""}) {
    EXPECT_EQ(std::u16string(CApiError(none, 5).GetFunctionName()), u"UNKNOWN EXCEPTION");
  }
}

TEST(ErrorRecord, a_new_record_takes_the_place_of_one_nobody_showed) {
  TestPhone phone;
  Fail(u"first", 1);
  Fail(u"second", 2);
  ASSERT_NE(LastApiError(), nullptr);
  EXPECT_EQ(LastApiError()->GetCode(), 2u);
  DropLastApiError();
  EXPECT_EQ(LastApiError(), nullptr);
}

TEST(ErrorRecord, without_memory_the_slot_is_empty_or_the_name_unknown) {
  TestPhone phone;
  Fail(u"first", 1);
  phone.FailCall("LocalAlloc");
  Fail(u"second", 2);
  EXPECT_EQ(LastApiError(), nullptr);
  phone->GetFaults().Clear();
  phone.FailCall("LocalAlloc", {}, 1);
  Fail(u"third", 3);
  ASSERT_NE(LastApiError(), nullptr);
  EXPECT_EQ(std::u16string(LastApiError()->GetFunctionName()), u"UNKNOWN EXCEPTION");
  DropLastApiError();
}

TEST(ErrorRecord, a_long_name_is_cut_to_the_box) {
  TestPhone phone;
  Fail(std::u16string(300, u'n').c_str(), 1);
  ShowErrBox(u"caption");
  EXPECT_EQ(phone.Boxes().at(0), u"caption|" + std::u16string(127, u'n'));
}

}  // namespace
}  // namespace test
