#include <gtest/gtest.h>

#include "agent/engine/ReplyWriter.h"
#include "tests/support/Bytes.h"

namespace test {
namespace {

constexpr std::uint8_t kBeyond = 0xA5;

// A room of a given size with guard bytes behind it.
struct Room {
  explicit Room(std::size_t size) : bytes(size + 8, kBeyond), writer({bytes.data(), size}, outLen) {
    writer.ModuleId(1);
    writer.Command(16);
  }
  Bytes Body() const { return {bytes.begin(), bytes.begin() + outLen}; }
  bool GuardsUntouched() const {
    return std::all_of(bytes.end() - 8, bytes.end(), [](auto b) { return b == kBeyond; });
  }

  Bytes bytes;
  std::uint32_t outLen = 0;
  CReplyWriter writer;
};

TEST(ReplyWriter, writes_every_kind_of_value) {
  Room room(200);
  room.writer.U32(0);
  room.writer.Text("a");
  room.writer.Utf8(u"\u00E9");
  room.writer.LowBytes(u"\u0141\u00FF");
  for (const std::int32_t value : {0, 7, -1, 2147483647, -2147483647 - 1}) {
    room.writer.U8(' ');
    room.writer.Dec(value);
  }
  room.writer.Timestamp({.wYear = 9,
                         .wMonth = 7,
                         .wDayOfWeek = 0,
                         .wDay = 12,
                         .wHour = 3,
                         .wMinute = 4,
                         .wSecond = 5,
                         .wMilliseconds = 6});
  room.writer.Send();
  EXPECT_EQ(ToHex(room.Body()), ToHex(FromHex("0001 0010 0037 00000000") + FromText("a") + FromHex("c3a9 41ff") +
                                      FromText(" 0 7 -1 2147483647 -2147483648"
                                               "00090712T030405Z")));
}

TEST(ReplyWriter, skipped_bytes_stay_as_they_were) {
  Room room(20);
  room.writer.U32(0);
  room.writer.Skip(2);
  room.writer.U8(1);
  room.writer.Send();
  EXPECT_EQ(room.Body(), FromHex("0001 0010 0007 00000000 a5a5 01"));
}

TEST(ReplyWriter, the_length_field_is_the_low_16_bits) {
  Room room(70000);
  room.writer.U32(0);
  room.writer.Text(std::string(0x10002, 'x'));
  room.writer.Send();
  EXPECT_EQ(room.outLen, 6u + 4 + 0x10002);
  EXPECT_EQ(Bytes(room.bytes.begin() + 4, room.bytes.begin() + 6), FromHex("0006"));
}

TEST(ReplyWriter, a_reply_that_does_not_fit_becomes_a_bare_result) {
  const Bytes tooLarge = FromHex("0001 0010 0004 8007000e");
  for (std::size_t size = 10; size < 26; ++size) {
    SCOPED_TRACE(size);
    Room room(size);
    room.writer.U32(0);
    room.writer.Text("0123456789");
    room.writer.U16(1);
    room.writer.Utf8(u"\u20AC");
    room.writer.U8('x');  // would fit again, but nothing may follow a gap
    room.writer.Send();
    EXPECT_EQ(room.Body(), tooLarge);
    EXPECT_TRUE(room.GuardsUntouched());
  }
  Room exact(26);
  exact.writer.U32(0);
  exact.writer.Text("0123456789abcdef");
  exact.writer.Send();
  EXPECT_EQ(exact.outLen, 26u);
  EXPECT_TRUE(exact.GuardsUntouched());

  Room counted(12);
  counted.writer.Text("0123456789");
  counted.writer.SendCounted(12, 18);
  EXPECT_EQ(counted.Body(), tooLarge);
}

}  // namespace
}  // namespace test
