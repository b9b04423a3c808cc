#include <cstring>
#include <gtest/gtest.h>
#include <string>
#include <vector>

#include "platform/Tapi.h"
#include "tests/support/TestPhone.h"

namespace {

using nlohmann::json;

const json& TwoLines() {
  static const json kTapiPhone = json::parse(R"({"lines": [{"name": "Serial"},
    {"name": "Cellular Line", "manufacturer": "Maker", "model": null, "revision": "", "serialNumber": "123",
     "subscriberNumber": "+1"}]})");
  return kTapiPhone;
}

struct App {
  App() {
    ce::LINEINITIALIZEEXPARAMS params{.dwTotalSize = sizeof(params),
                                      .dwNeededSize = 0,
                                      .dwUsedSize = 0,
                                      .dwOptions = ce::LINEINITIALIZEEXOPTION_USEEVENT,
                                      .hEvent = 0,
                                      .dwCompletionKey = 0};
    ce::DWORD version = 0x00020000;
    EXPECT_EQ(ce::lineInitializeEx(&app, ce::HINSTANCE{}, nullptr, u"test", &devices, &version, &params), 0);
    EXPECT_NE(params.hEvent, 0U);
  }
  ce::HLINEAPP app{};
  ce::DWORD devices = 0;
};

ce::HLINE Open(const App& app, ce::DWORD device) {
  ce::HLINE line{};
  EXPECT_EQ(ce::lineOpen(app.app, device, &line, 0x00020000, 0, 0, ce::LINECALLPRIVILEGE_OWNER,
                         ce::LINEMEDIAMODE_INTERACTIVEVOICE, nullptr),
            0);
  return line;
}

// The record in a room of this size, with bytes behind it that must stay.
template <typename Record>
struct Room {
  explicit Room(ce::DWORD total) : bytes(total + 16, 0xEE) { Get()->dwTotalSize = total; }
  Record* Get() { return reinterpret_cast<Record*>(bytes.data()); }
  std::u16string Text(ce::DWORD size, ce::DWORD offset) {
    std::u16string text(size / 2, 0);
    std::memcpy(text.data(), bytes.data() + offset, size);
    return text;
  }
  bool TailIsWhole() const { return std::count(bytes.end() - 16, bytes.end(), 0xEE) == 16; }

  std::vector<std::uint8_t> bytes;
};

TEST(Tapi, a_record_of_fixed_size_learns_the_needed_size_and_then_gets_the_texts) {
  test::BarePhone phone(TwoLines());
  App app;
  ASSERT_EQ(app.devices, 2U);
  Room<ce::LINEDEVCAPS> caps(sizeof(ce::LINEDEVCAPS));
  ASSERT_EQ(ce::lineGetDevCaps(app.app, 1, 0x00020000, 0, caps.Get()), 0);
  EXPECT_EQ(caps.Get()->dwNeededSize, sizeof(ce::LINEDEVCAPS) + 28);
  EXPECT_EQ(caps.Get()->dwLineNameSize, 0U);
  EXPECT_TRUE(caps.TailIsWhole());
  Room<ce::LINEDEVCAPS> large(caps.Get()->dwNeededSize);
  ASSERT_EQ(ce::lineGetDevCaps(app.app, 1, 0x00020000, 0, large.Get()), 0);
  EXPECT_EQ(large.Text(large.Get()->dwLineNameSize, large.Get()->dwLineNameOffset),
            std::u16string(u"Cellular Line\0", 14));

  const ce::HLINE line = Open(app, 1);
  Room<ce::LINEGENERALINFO> fixed(sizeof(ce::LINEGENERALINFO));
  ASSERT_EQ(ce::lineGetGeneralInfo(line, fixed.Get()), 0);
  EXPECT_EQ(fixed.Get()->dwNeededSize, 52U + 12 + 2 + 8 + 6);
  EXPECT_EQ(fixed.Get()->dwUsedSize, 52U);
  Room<ce::LINEGENERALINFO> info(fixed.Get()->dwNeededSize);
  ASSERT_EQ(ce::lineGetGeneralInfo(line, info.Get()), 0);
  EXPECT_EQ(info.Text(info.Get()->dwManufacturerSize, info.Get()->dwManufacturerOffset), std::u16string(u"Maker\0", 6));
  EXPECT_EQ(info.Get()->dwModelOffset, 0U) << "left out";
  EXPECT_EQ(info.Get()->dwRevisionSize, 2U) << "empty, with its terminator";
  EXPECT_EQ(info.Text(info.Get()->dwSubscriberNumberSize, info.Get()->dwSubscriberNumberOffset),
            std::u16string(u"+1\0", 3));
  EXPECT_TRUE(info.TailIsWhole());
  Room<ce::LINEGENERALINFO> part(sizeof(ce::LINEGENERALINFO) + 11);
  ASSERT_EQ(ce::lineGetGeneralInfo(line, part.Get()), 0);
  EXPECT_EQ(part.Get()->dwManufacturerSize, 0U) << "a text that does not fit is not begun";
  EXPECT_EQ(part.Get()->dwRevisionSize, 2U);
  EXPECT_TRUE(part.TailIsWhole());
  EXPECT_EQ(ce::lineShutdown(app.app), 0);
  EXPECT_TRUE(phone->GetLedger().Empty()) << "a shut-down application's lines go with it";
}

TEST(Tapi, refuses_bad_devices_handles_versions_and_records) {
  test::BarePhone phone(TwoLines());
  App app;
  ce::DWORD version = 0;
  EXPECT_EQ(ce::lineNegotiateAPIVersion(app.app, 1, 0x00020000, 0x00020000, &version, nullptr), 0);
  EXPECT_EQ(version, 0x00020000U);
  EXPECT_EQ(ce::lineNegotiateAPIVersion(app.app, 1, 0x00010004, 0x00090000, &version, nullptr), 0);
  EXPECT_EQ(version, 0x00020000U);
  EXPECT_EQ(ce::lineNegotiateAPIVersion(app.app, 1, 0x00020001, 0x00090000, &version, nullptr),
            ce::LINEERR_INCOMPATIBLEAPIVERSION);
  EXPECT_EQ(ce::lineNegotiateAPIVersion(app.app, 2, 0, 0x00020000, &version, nullptr), ce::LINEERR_BADDEVICEID);
  EXPECT_EQ(ce::lineNegotiateExtVersion(app.app, 1, 0x00020000, 0x00010000, 0x00010000, &version), 0);
  EXPECT_EQ(version, 0x00010000U);
  EXPECT_EQ(ce::lineNegotiateExtVersion(app.app, 1, 0x00020000, 0x00010001, 0x00020000, &version),
            ce::LINEERR_INCOMPATIBLEEXTVERSION);
  Room<ce::LINEDEVCAPS> small(sizeof(ce::LINEDEVCAPS) - 1);
  EXPECT_EQ(ce::lineGetDevCaps(app.app, 0, 0x00020000, 0, small.Get()), ce::LINEERR_STRUCTURETOOSMALL);
  EXPECT_EQ(ce::lineGetDevCaps(app.app, 7, 0x00020000, 0, small.Get()), ce::LINEERR_BADDEVICEID);
  const ce::HLINE line = Open(app, 0);
  EXPECT_EQ(ce::lineClose(line), 0);
  EXPECT_EQ(ce::lineClose(line), ce::LINEERR_INVALLINEHANDLE);
  Room<ce::LINEGENERALINFO> info(sizeof(ce::LINEGENERALINFO));
  EXPECT_EQ(ce::lineGetGeneralInfo(line, info.Get()), ce::LINEERR_INVALLINEHANDLE);
  EXPECT_EQ(ce::lineClose(static_cast<ce::HLINE>(app.app)), ce::LINEERR_INVALLINEHANDLE) << "another kind of handle";
  EXPECT_EQ(ce::lineShutdown(app.app), 0);
  EXPECT_NE(ce::lineShutdown(app.app), 0);
}

TEST(Tapi, a_radio_that_is_off_or_absent_says_so) {
  test::BarePhone phone(json::parse(
      R"({"lines": [{"name": "off", "radioOff": true}, {"name": "absent", "operationUnavailable": true}]})"));
  App app;
  Room<ce::LINEGENERALINFO> info(sizeof(ce::LINEGENERALINFO));
  EXPECT_EQ(ce::lineGetGeneralInfo(Open(app, 0), info.Get()), ce::LINEERR_OPERATIONFAILED);
  EXPECT_EQ(ce::lineGetGeneralInfo(Open(app, 1), info.Get()), ce::LINEERR_OPERATIONUNAVAIL);
  EXPECT_EQ(ce::lineShutdown(app.app), 0);
}

}  // namespace
