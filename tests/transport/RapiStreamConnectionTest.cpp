#include <gtest/gtest.h>
#include <sys/socket.h>
#include <unistd.h>

#include "agent/engine/ErrorRecord.h"
#include "agent/transport/RapiStreamConnection.h"
#include "handset/net/RapiStream.h"
#include "tests/support/Bytes.h"
#include "tests/support/TestPhone.h"

namespace test {
namespace {

class RapiStreamTest : public testing::Test {
 protected:
  void SetUp() override {
    int ends[2];
    ASSERT_EQ(socketpair(AF_UNIX, SOCK_STREAM, 0, ends), 0);
    peer = ends[1];
    connection.emplace(handset::NewDescriptorStream(ends[0], ends[0]));
  }
  void TearDown() override { close(peer); }

  TestPhone phone;
  std::optional<CRapiStreamConnection> connection;
  int peer = -1;
  std::uint8_t buffer[64]{};
  std::int32_t count = -1;
};

TEST_F(RapiStreamTest, carries_bytes_until_the_desktop_is_gone) {
  ASSERT_EQ(write(peer, "abcdef", 6), 6);
  EXPECT_TRUE(connection->Read(buffer, count, 4));
  EXPECT_EQ(count, 4);
  EXPECT_TRUE(connection->Read(buffer, count, 64));
  EXPECT_EQ(count, 2);
  EXPECT_TRUE(connection->Write(FromText("xyz").data(), count, 3));
  EXPECT_EQ(count, 3);
  EXPECT_EQ(read(peer, buffer, sizeof buffer), 3);
  shutdown(peer, SHUT_RDWR);
  EXPECT_TRUE(connection->Read(buffer, count, 64));
  EXPECT_EQ(count, CConnectionManager::kConnectionClosed);
  EXPECT_TRUE(connection->Write(buffer, count, 3));
  EXPECT_EQ(count, CConnectionManager::kConnectionClosed);
}

TEST_F(RapiStreamTest, only_ok_is_success_and_failures_leave_no_record) {
  for (const std::uint32_t result : {1u, 0x80004005u, 0x80072745u}) {
    phone.FailCall("IRAPIStream::Read", result);
    phone.FailCall("IRAPIStream::Write", result);
    EXPECT_FALSE(connection->Read(buffer, count, 4)) << result;
    EXPECT_FALSE(connection->Write(buffer, count, 4)) << result;
  }
  EXPECT_EQ(LastApiError(), nullptr);
}

TEST_F(RapiStreamTest, start_and_stop_touch_nothing) {
  EXPECT_TRUE(connection->Start());
  EXPECT_TRUE(connection->Stop());
  ASSERT_EQ(write(peer, "a", 1), 1);
  EXPECT_TRUE(connection->Read(buffer, count, 4));
  EXPECT_EQ(count, 1);
}

}  // namespace
}  // namespace test
