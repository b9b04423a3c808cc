#include <gtest/gtest.h>

#include "agent/engine/ErrorRecord.h"
#include "agent/modules/system/RadioIdentity.h"
#include "tests/support/EngineRun.h"
#include "tests/support/TestPhone.h"

namespace test {
namespace {

const nlohmann::json kRadioPhone = {{"lines",
                                     {{{"name", "Cellular Line"},
                                       {"manufacturer", "M"},
                                       {"model", "O"},
                                       {"revision", "R"},
                                       {"serialNumber", "S"},
                                       {"subscriberNumber", "N"}}}}};

TEST(RadioIdentity, texts_are_read_in_their_order_until_memory_ends) {
  TestPhone phone(kRadioPhone);
  phone.ExpectHeld(handset::Held::kLineApp);
  std::vector<std::u16string> read;
  for (std::uint32_t skip = 0;; ++skip) {
    phone->GetFaults().Clear();
    phone.FailCall("LocalAlloc", {}, skip);
    CRadioIdentity radio;
    const std::uint32_t result = radio.Query();
    EXPECT_EQ(LastApiError(), nullptr);
    if (result == 0) break;
    EXPECT_EQ(result, 255u);
    read.push_back(std::u16string(radio.SerialNumber()) + std::u16string(radio.Manufacturer()) +
                   std::u16string(radio.Model()) + std::u16string(radio.Revision()) +
                   std::u16string(radio.SubscriberNumber()));
  }
  // Three allocations look at the line, two hold the record, five are the texts.
  EXPECT_EQ(read, (std::vector<std::u16string>{u"", u"", u"", u"", u"", u"", u"S", u"SM", u"SMO", u"SMOR"}));
}

TEST(RadioIdentity, a_text_that_does_not_fit_the_reply_becomes_a_bare_result) {
  nlohmann::json description = kRadioPhone;
  description["lines"][0]["serialNumber"] = std::string(929772, '1');  // with head and result: exactly what fits
  {
    TestPhone phone(description);
    EXPECT_EQ(Answer(Frame(1, 247, 1) + Frame(1, 7, 2)).size(), 20u + 929792u);
  }
  description["lines"][0]["serialNumber"] = std::string(929773, '1');
  TestPhone phone(description);
  EXPECT_EQ(ToHex(Answer(Frame(1, 247, 1) + Frame(1, 7, 2))),
            ToHex(ResultFrame(1, 248, 1, 0) + ResultFrame(1, 8, 2, 0x8007000E)));
}

}  // namespace
}  // namespace test
