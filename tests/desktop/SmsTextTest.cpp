#include <gtest/gtest.h>

#include "desktop/Failure.h"
#include "desktop/sms/Sms.h"
#include "desktop/sms/SmsText.h"

namespace brelix {
namespace {

std::string Times(size_t count, const std::string& text) {
  std::string out;
  while (count-- > 0) out += text;
  return out;
}

TEST(SmsText, IsDividedWhereThePhoneWouldDivideIt) {
  const std::string euro = "\xE2\x82\xAC", face = "\xF0\x9F\x98\x80", kana = "\xE3\x81\x82";
  struct Row {
    std::string text;
    bool gsm7;
    size_t units, length;
    std::vector<std::string> parts;
  };
  const Row rows[] = {
      {"", true, 0, 0, {""}},
      {"@\xC2\xA3\xCE\x94\xC3\xA0\n", true, 5, 5, {"@\xC2\xA3\xCE\x94\xC3\xA0\n"}},
      {"`", false, 1, 1, {"`"}},
      {Times(160, "a"), true, 160, 160, {Times(160, "a")}},
      {Times(161, "a"), true, 161, 161, {Times(153, "a"), Times(8, "a")}},
      {Times(80, euro), true, 80, 160, {Times(80, euro)}},
      // An escape and its character stay together: 152 septets of 153 are used.
      {Times(81, euro), true, 81, 162, {Times(76, euro), Times(5, euro)}},
      {Times(70, kana), false, 70, 70, {Times(70, kana)}},
      {Times(71, kana), false, 71, 71, {Times(67, kana), Times(4, kana)}},
      // Two units each, so 66 of 67.
      {Times(36, face), false, 72, 72, {Times(33, face), Times(3, face)}},
      {Times(66, "a") + face + Times(10, "b"), false, 78, 78, {Times(66, "a"), face + Times(10, "b")}},
  };
  for (const Row& row : rows) {
    const SmsText text = DivideSms(row.text);
    EXPECT_EQ(text.alphabet == SmsText::Alphabet::kGsm7, row.gsm7) << row.text;
    EXPECT_EQ(text.utf16_units, row.units) << row.text;
    EXPECT_EQ(text.length, row.length) << row.text;
    EXPECT_EQ(text.parts, row.parts) << row.text;
  }
}

TEST(SmsText, EveryCharacterOfTheGsmAlphabetTakesItsSeptets) {
  const std::string one =
      "@£$¥èéùìòÇ\nØø\rÅåΔ_ΦΓΛΩΠΨΣΘΞÆæßÉ !\"#¤%&'()*+,-./0123456789:;<=>?¡ABCDEFGHIJKLMNOPQRSTUVWXYZÄÖÑÜ§¿"
      "abcdefghijklmnopqrstuvwxyzäöñüà";
  const SmsText text = DivideSms(one + "\f^{}\\[~]|€");
  EXPECT_EQ(text.alphabet, SmsText::Alphabet::kGsm7);
  EXPECT_EQ(text.length, 127u + 20u);
}

Exit WhyNot(const SmsRequest& request) {
  try {
    BuildSms(request);
    return Exit::kOk;
  } catch (const Failure& failure) {
    return failure.code();
  }
}

TEST(Sms, WhatWouldNotArriveIsNotSent) {
  EXPECT_EQ(WhyNot({"+4201", "hello"}), Exit::kOk);
  EXPECT_EQ(WhyNot({"*100#", "ZZZ ZZZ"}), Exit::kOk);
  EXPECT_EQ(WhyNot({"", "x"}), Exit::kUsage);
  EXPECT_EQ(WhyNot({"+", "x"}), Exit::kUsage);
  EXPECT_EQ(WhyNot({"12+3", "x"}), Exit::kUsage);
  EXPECT_EQ(WhyNot({"ZZZZ1", "x"}), Exit::kUsage);
  EXPECT_EQ(WhyNot({std::string(256, '1'), "x"}), Exit::kUsage);
  EXPECT_EQ(WhyNot({"1", "x", "nobody"}), Exit::kUsage);
  EXPECT_EQ(WhyNot({"1", "\xFF"}), Exit::kUsage);
  EXPECT_EQ(WhyNot({"1", "aZZZZb"}), Exit::kWouldLoseData);
  // The flag, an empty service centre, the number and the text, each with its end: 16368 bytes of data in a request.
  EXPECT_EQ(WhyNot({"1", std::string(16368 - 5, 'a')}), Exit::kOk);
  EXPECT_EQ(WhyNot({"1", std::string(16368 - 4, 'a')}), Exit::kWouldLoseData);
}

}  // namespace
}  // namespace brelix
