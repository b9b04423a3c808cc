#include <gtest/gtest.h>

#include "platform/User.h"
#include "tests/support/TestPhone.h"

namespace {

TEST(MessageBoxes, are_answered_by_the_first_entry_that_fits_and_has_the_button) {
  test::BarePhone phone(nlohmann::json::parse(R"({"messageBoxes": [
    {"caption": "Question", "contains": "radio", "answer": "yes"},
    {"contains": "radio", "answer": "ok"},
    {"contains": "sure", "answer": "no"},
    {"contains": "sure", "answer": "yes"}]})"));
  const struct {
    ce::LPCWSTR text;
    ce::LPCWSTR caption;
    ce::DWORD type;
    ce::INT answer;
  } kCases[] = {{u"the radio is off", u"Question", ce::MB_YESNO | ce::MB_ICONQUESTION, ce::IDYES},
                {u"the radio is off", u"question", ce::MB_YESNO, ce::IDNO},
                {u"the radio is off", u"Question", ce::MB_OK, ce::IDOK},
                {u"sure?", u"", ce::MB_YESNO, ce::IDNO},
                {u"anything", nullptr, ce::MB_YESNO, ce::IDNO},
                {nullptr, u"", ce::MB_OK | ce::MB_ICONERROR, ce::IDOK}};
  for (const auto& test : kCases) {
    EXPECT_EQ(ce::MessageBoxW(ce::kNoWindow, test.text, test.caption, test.type), test.answer);
  }
  const auto log = phone->GetMessageBoxes().GetLog();
  ASSERT_EQ(log.size(), std::size(kCases));
  EXPECT_EQ(log[0].text, u"the radio is off");
  EXPECT_EQ(log[0].caption, u"Question");
  EXPECT_EQ(log[0].type, ce::MB_YESNO | ce::MB_ICONQUESTION);
  EXPECT_EQ(log[0].answer, ce::IDYES);
}

TEST(MessageBoxes, stand_on_standard_error_unless_silent) {
  test::BarePhone phone;
  phone->GetMessageBoxes().AddAnswer({.caption = {}, .contains = {}, .answer = ce::IDNO});
  testing::internal::CaptureStderr();
  ce::MessageBoxW(ce::kNoWindow, u"unseen", u"Silent", ce::MB_YESNO);
  phone->GetMessageBoxes().SetSilent(false);
  const char16_t text[] = {u'1', u'\n', u'2', 0xD800, 0};
  ce::MessageBoxW(ce::kNoWindow, text, u"Loud", ce::MB_YESNO);
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "+-- Loud\n| 1\n| 2\xEF\xBF\xBD\n+--\n");
}

}  // namespace
