// Documents that just fit and that do not, and memory that runs out at one place.
#include <gtest/gtest.h>

#include "tests/support/EngineRun.h"
#include "tests/support/TestPhone.h"

namespace test {
namespace {

// The reply to the last request of a session, of which the ones before it are the opening and an open items.
Bytes AnswerToItem(std::uint16_t module, const Bytes& request, std::function<void()> before = {}) {
  Script script;
  script.Give(HandshakeAndOpen() + Frame(module, 1, 0x0103));
  for (int i = 0; i < 2; ++i) script.Give(Bytes{0});  // so that each of the three is looked at
  script.Give(Script::Read::Kind::kNothing, std::move(before));
  script.Give(request);
  RunAlone(script);
  const Bytes opened = ResultFrame(module, 2, 0x0103, 0);
  const auto end = std::search(script.sent.begin(), script.sent.end(), opened.begin(), opened.end());
  if (end == script.sent.end()) return {};
  return {end + static_cast<std::ptrdiff_t>(opened.size()), script.sent.end()};
}

nlohmann::json PhoneWith(const char* list, const nlohmann::json& item) {
  return nlohmann::json::object({{list, nlohmann::json::array({item})}});
}

constexpr std::string_view kBeforeBody =
    "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n<contactentry>\n  <oid>5</oid>\n  "
    "<Birthday>45010101T000000Z</Birthday>\n"
    "  <Anniversary>45010101T000000Z</Anniversary>\n  <FileAs>f</FileAs>\n  <Body>";
constexpr std::string_view kBehindBody = "</Body>\n</contactentry>";

TEST(ItemLimits, a_document_that_fills_the_send_buffer_is_sent_and_one_byte_more_is_not) {
  const std::size_t room = 929792 - 16 - 4 - kBeforeBody.size() - kBehindBody.size();
  for (const std::size_t size : {room, room + 1}) {
    TestPhone phone(PhoneWith("contacts", {{"oid", 5}, {"FileAs", "f"}, {"Body", std::string(size, 'n')}}));
    const Bytes answer = AnswerToItem(3, Frame(3, 9, 0x0104, U32(1)));
    if (size == room) {
      const Bytes data = U32(0) + FromText(kBeforeBody) + Bytes(size, 'n') + FromText(kBehindBody);
      EXPECT_EQ(answer.size(), 929792u);
      EXPECT_TRUE(answer == FrameWithLength(3, 10, static_cast<std::uint16_t>(data.size()), 0x0104, data));
    } else {
      EXPECT_EQ(ToHex(answer), ToHex(ResultFrame(3, 10, 0x0104, 0x8007000E)));
    }
  }
}

TEST(ItemLimits, Kept_failed_copy_is_255) {
  for (std::uint32_t text = 0; text < 3; ++text) {
    TestPhone phone(PhoneWith(
        "appointments",
        {{"oid", 6}, {"Start", "2020-03-02T09:30:00"}, {"Subject", "s"}, {"Body", "b"}, {"ReminderSoundFile", "r"}}));
    const Bytes answer = AnswerToItem(4, Frame(4, 9, 0x0104, U32(1)), [&] { phone.FailCall("LocalAlloc", {}, text); });
    EXPECT_EQ(ToHex(answer), ToHex(ResultFrame(4, 10, 0x0104, 255)));
  }
}

TEST(ItemLimits, a_picture_that_there_is_no_memory_for) {
  TestPhone phone(PhoneWith("contacts", {{"oid", 5}, {"FileAs", "f"}, {"Picture", "QUJD"}}));
  Bytes without = U32(0) + FromText(kBeforeBody);
  without.resize(without.size() - std::string_view("  <Body>").size());
  without = without + FromText("</contactentry>");
  for (std::uint32_t block = 0; block < 2; ++block) {
    const Bytes answer = AnswerToItem(3, Frame(3, 9, 0x0104, U32(1)), [&] { phone.FailCall("LocalAlloc", {}, block); });
    EXPECT_EQ(ToHex(answer), ToHex(Frame(3, 10, 0x0104, without)));
  }
  // Going up, it is refused, and the next attempt begins anew.
  const Bytes answer =
      AnswerToItem(3, Frame(3, 15, 0x0104, {1}) + Frame(3, 15, 0x0105, {2}) + Frame(3, 17, 0x0106, U32(5)),
                   [&] { phone.FailCall("LocalAlloc"); });
  EXPECT_EQ(ToHex(answer), ToHex(ResultFrame(3, 16, 0x0104, 0x8007000E) + ResultFrame(3, 16, 0x0105, 0) +
                                 ResultFrame(3, 18, 0x0106, 0)));
}

}  // namespace
}  // namespace test
