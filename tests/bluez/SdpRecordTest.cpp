// Service records as bytes and as BlueZ takes them, addresses, and the search for a free channel.
#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>
#include <set>

#include "handset/radio/Rfcomm.h"
#include "handset/radio/SdpRecord.h"
#include "tests/support/Bytes.h"

namespace test {
namespace {

using handset::ParseSdpRecord;
using handset::SdpError;

std::string Xml(const std::string& hex) { return handset::ToBluezXml(ParseSdpRecord(FromHex(hex))); }

// The XML of a record whose one attribute, 0x0100, is this element.
std::string XmlOf(const std::string& element) {
  const Bytes bytes = FromHex(element);
  const Bytes head = {0x35, static_cast<std::uint8_t>(bytes.size() + 3), 0x09, 0x01, 0x00};
  const std::string xml = handset::ToBluezXml(ParseSdpRecord(head + bytes));
  const std::string before = "<?xml version=\"1.0\" encoding=\"UTF-8\"?><record><attribute id=\"0x0100\">";
  const std::string after = "</attribute></record>";
  EXPECT_TRUE(xml.starts_with(before) && xml.ends_with(after)) << xml;
  return xml.substr(before.size(), xml.size() - before.size() - after.size());
}

std::string WhyNot(const std::string& hex) {
  try {
    ParseSdpRecord(FromHex(hex));
    return "nothing";
  } catch (const SdpError& error) {
    return error.what();
  }
}

TEST(SdpRecord, every_type_has_its_element) {
  EXPECT_EQ(XmlOf("00"), "<nil/>");
  EXPECT_EQ(XmlOf("08 FF"), "<uint8 value=\"0xff\"/>");
  EXPECT_EQ(XmlOf("0A 00 00 00 02"), "<uint32 value=\"0x00000002\"/>");
  EXPECT_EQ(XmlOf("0B 01 02 03 04 05 06 07 08"), "<uint64 value=\"0x0102030405060708\"/>");
  EXPECT_EQ(XmlOf("11 FF FE"), "<int16 value=\"0xfffe\"/>");
  EXPECT_EQ(XmlOf("1A 12 34 56 78"), "<uuid value=\"0x12345678\"/>");
  EXPECT_EQ(XmlOf("1C 00 01 02 03 04 05 06 07 08 09 0A 0B 0C 0D 0E 0F"),
            "<uuid value=\"00010203-0405-0607-0809-0a0b0c0d0e0f\"/>");
  EXPECT_EQ(XmlOf("28 01"), "<boolean value=\"true\"/>");
  EXPECT_EQ(XmlOf("26 00 04 00 41 E9 3C"), "<text encoding=\"hex\" value=\"0041e93c\"/>");
  EXPECT_EQ(XmlOf("25 00"), "<text encoding=\"hex\" value=\"\"/>");
  EXPECT_EQ(XmlOf("45 06 61 3A 26 3C 22 62"), "<url value=\"a:&amp;&lt;&quot;b\"/>");
  EXPECT_EQ(XmlOf("3D 04 08 01 35 00"), "<alternate><uint8 value=\"0x01\"/><sequence></sequence></alternate>");
}

// BlueZ puts the digits into memory as they come and takes them for a number of this machine.
TEST(SdpRecord, numbers_of_128_bits_are_reversed) {
  EXPECT_EQ(XmlOf("0C 00 01 02 03 04 05 06 07 08 09 0A 0B 0C 0D 0E 0F"),
            "<uint128 value=\"0f0e0d0c0b0a09080706050403020100\"/>");
  EXPECT_EQ(XmlOf("14 FF 01 02 03 04 05 06 07 08 09 0A 0B 0C 0D 0E 0F"),
            "<int128 value=\"0f0e0d0c0b0a090807060504030201ff\"/>");
}

TEST(SdpRecord, the_handle_is_left_to_the_server) {
  EXPECT_EQ(Xml("35 10 09 00 00 0A 00 01 00 01 09 00 01 35 03 19 11 01"),
            "<?xml version=\"1.0\" encoding=\"UTF-8\"?><record><attribute id=\"0x0001\"><sequence><uuid "
            "value=\"0x1101\"/></sequence></attribute></record>");
}

TEST(SdpRecord, what_is_malformed_is_refused_with_its_place) {
  EXPECT_NE(WhyNot("").find("byte 0"), std::string::npos);
  EXPECT_NE(WhyNot("35 00").find("no attributes"), std::string::npos);
  EXPECT_NE(WhyNot("08 01").find("a record is a sequence"), std::string::npos);
  EXPECT_NE(WhyNot("35 05 09 01 00 08 01 00").find("ends before its 8 bytes"), std::string::npos);
  EXPECT_NE(WhyNot("35 04 09 01 00 08").find("byte 5: an element needs 1 bytes more"), std::string::npos);
  EXPECT_NE(WhyNot("35 06 09 01 00 25 05 41").find("byte 5"), std::string::npos);
  EXPECT_NE(WhyNot("35 08 09 01 00 35 03 19 11 01 08").find("byte 0"), std::string::npos);
  EXPECT_NE(WhyNot("35 05 09 01 00 48 01").find("byte 5: 0x48"), std::string::npos);
  EXPECT_NE(WhyNot("35 05 09 01 00 18 01").find("type 3 cannot have the size index 0"), std::string::npos);
  EXPECT_NE(WhyNot("35 05 09 01 00 28 02").find("byte 6: a boolean"), std::string::npos);
  EXPECT_NE(WhyNot("35 06 09 01 00 45 01 0A").find("URL"), std::string::npos);
  EXPECT_NE(WhyNot("35 03 09 01 00").find("last attribute has no value"), std::string::npos);
  EXPECT_NE(WhyNot("35 04 08 01 08 01").find("16-bit number"), std::string::npos);
  EXPECT_NE(WhyNot("35 0A 09 01 00 08 01 09 01 00 08 02").find("0x0100 is in it twice"), std::string::npos);
  // The four bytes of a length may say more than there is.
  EXPECT_NE(WhyNot("37 FF FF FF FF 09 01 00").find("byte 0"), std::string::npos);
  Bytes nested = {0x08, 0x01};
  for (int i = 0; i < 40; ++i) nested = Bytes{0x35, static_cast<std::uint8_t>(nested.size())} + nested;
  EXPECT_NE(WhyNot("35" + ToHex({static_cast<std::uint8_t>(nested.size() + 3)}) + "090100" + ToHex(nested))
                .find("nested deeper than 16"),
            std::string::npos);
}

RC_GTEST_PROP(SdpRecord, any_bytes_are_a_record_or_refused, (const Bytes& tail)) {
  const Bytes bytes =
      Bytes{0x36, static_cast<std::uint8_t>(tail.size() >> 8), static_cast<std::uint8_t>(tail.size())} + tail;
  try {
    const std::string xml = handset::ToBluezXml(ParseSdpRecord(bytes));
    RC_ASSERT(xml.find_first_of(std::string("\0\n&", 3)) == std::string::npos ||
              xml.find("&amp;") != std::string::npos);
  } catch (const SdpError&) {
  }
}

TEST(Rfcomm, addresses_are_written_with_the_last_byte_first) {
  const auto address = handset::FindBluetoothAddress("00:aA:01:00:00:42");
  ASSERT_TRUE(address);
  EXPECT_EQ(ToHex(Bytes(address->begin(), address->end())), ToHex(FromHex("42 00 00 01 AA 00")));
  EXPECT_EQ(handset::ToText(*address), "00:AA:01:00:00:42");
  for (const char* wrong :
       {"", "00:AA:01:00:00", "00:AA:01:00:00:4", "00-AA-01-00-00-42", "00:AA:01:00:00:4G", "00:AA:01:00:00:42:"}) {
    EXPECT_FALSE(handset::FindBluetoothAddress(wrong)) << wrong;
  }
}

TEST(Rfcomm, a_free_channel_is_free_on_every_adapter) {
  const std::vector<handset::BluetoothAddress> adapters = {{1}, {2}};
  std::set<std::pair<int, std::uint32_t>> taken = {{0, 1}, {1, 2}, {2, 3}};  // by the first byte of the address
  const auto isFree = [&](const handset::BluetoothAddress& adapter, std::uint32_t channel) {
    return !taken.contains({adapter[0], channel});
  };
  EXPECT_EQ(handset::FindFreeChannel(adapters, isFree), 4u);
  for (std::uint32_t channel = 4; channel < 30; ++channel) taken.insert({channel % 3, channel});
  EXPECT_EQ(handset::FindFreeChannel(adapters, isFree), 30u);
  taken.insert({0, 30});
  EXPECT_EQ(handset::FindFreeChannel(adapters, isFree), 0u);
}

}  // namespace
}  // namespace test
