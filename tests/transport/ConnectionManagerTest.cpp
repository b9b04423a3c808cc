// The socket connection over real socket pairs.
#include <atomic>
#include <gtest/gtest.h>
#include <thread>
#include <unistd.h>

#include "agent/engine/ErrorRecord.h"
#include "agent/transport/ConnectionManager.h"
#include "tests/support/Bytes.h"
#include "tests/support/LocalListener.h"
#include "tests/support/TestPhone.h"
#include "tests/transport/SocketConnection.h"

namespace test {
namespace {

constexpr std::int32_t kClosed = CConnectionManager::kConnectionClosed;

class SocketTest : public testing::Test {
 protected:
  // A connection that accepted this test's end of a socket pair.
  void Connect() {
    const LocalListener listener(1);
    connection.Listen(phone->AdoptSocket(listener.Descriptor()));
    ASSERT_TRUE(connection.Construct());
    EXPECT_EQ(connection.CheckListeningSocket(), 0);
    peer = listener.Connect();
    EXPECT_EQ(connection.CheckListeningSocket(), 1);
    ASSERT_EQ(connection.AcceptConnection(), 0);
  }
  void TearDown() override {
    if (peer >= 0) close(peer);
  }

  std::u16string Record() {
    const CApiError* error = LastApiError();
    return error == nullptr ? u"" : error->GetFunctionName();
  }
  std::u16string TakeRecord() {
    const std::u16string record = Record();
    DropLastApiError();
    return record;
  }

  TestPhone phone;
  CSocketConnection connection;
  int peer = -1;
  std::uint8_t buffer[1 << 16]{};
  std::int32_t count = -1;
};

TEST_F(SocketTest, reads_what_is_pending_up_to_the_size_and_never_waits) {
  Connect();
  EXPECT_TRUE(connection.Read(buffer, count, 16));
  EXPECT_EQ(count, 0);
  const std::string sent(100, 'a');
  ASSERT_EQ(write(peer, sent.data(), sent.size()), 100);
  EXPECT_TRUE(connection.Read(buffer, count, 16));
  EXPECT_EQ(count, 16);
  EXPECT_TRUE(connection.Read(buffer, count, 1000));
  EXPECT_EQ(count, 84);
  close(std::exchange(peer, -1));
  EXPECT_TRUE(connection.Read(buffer, count, 16));
  EXPECT_EQ(count, kClosed);
}

TEST_F(SocketTest, writes_when_it_can_and_tells_a_reset_from_a_failure) {
  Connect();
  EXPECT_TRUE(connection.Write(FromText("abc").data(), count, 3));
  EXPECT_EQ(count, 3);
  ASSERT_TRUE(connection.SetNonBlockingMode());
  std::int32_t total = 0;
  for (int i = 0; i < 1000 && count != 0; ++i) {
    ASSERT_TRUE(connection.Write(buffer, count, sizeof buffer));
    total += count;
  }
  EXPECT_EQ(count, 0) << "a socket that takes no more is not writable";
  EXPECT_GT(total, 0);
  close(std::exchange(peer, -1));
  EXPECT_TRUE(connection.Write(buffer, count, 3));
  EXPECT_EQ(count, kClosed);
  EXPECT_EQ(LastApiError(), nullptr);
}

struct FaultCase {
  const char* call;
  std::uint32_t code;
  bool read;
  bool answer;
  std::int32_t count;
  std::u16string record;
};

TEST_F(SocketTest, names_the_call_that_failed) {
  Connect();
  ASSERT_EQ(write(peer, "x", 1), 1);
  const FaultCase cases[] = {
      {"select", 10038, true, false, 0, u"select"}, {"ioctlsocket", 10038, true, false, 0, u"ioctlsocket"},
      {"recv", 10054, true, false, 0, u"recv"},     {"select", 10038, false, false, 0, u"select"},
      {"send", 10050, false, false, 0, u"send"},    {"send", 10054, false, true, kClosed, u""},
  };
  for (const FaultCase& row : cases) {
    SCOPED_TRACE(row.call);
    phone->GetFaults().Clear();
    phone.FailCall(row.call, row.code);
    const bool answer = row.read ? connection.Read(buffer, count, 16) : connection.Write(buffer, count, 16);
    EXPECT_EQ(answer, row.answer);
    EXPECT_EQ(count, row.count);
    if (LastApiError() != nullptr) {
      EXPECT_EQ(LastApiError()->GetCode(), row.code);
    }
    EXPECT_EQ(TakeRecord(), row.record);
  }
  ASSERT_EQ(connection.CloseExchangeSocket(), 0);
  phone.FailCall("ioctlsocket", 10022);
  EXPECT_FALSE(connection.SetNonBlockingMode());
  EXPECT_EQ(TakeRecord(), u"ioctlsocket");
  phone.FailCall("accept", 10055);
  EXPECT_EQ(connection.AcceptConnection(), 10055);
  EXPECT_EQ(TakeRecord(), u"accept");
}

TEST_F(SocketTest, an_accept_is_interrupted_by_closing_the_listening_socket) {
  connection.Listen(phone->AdoptSocket(LocalListener(1).Descriptor()));
  ASSERT_TRUE(connection.Construct());
  std::atomic<bool> accepting{false};
  std::thread owner([&] {
    const handset::CurrentPhone current(*phone);
    accepting.wait(false);
    std::this_thread::sleep_for(std::chrono::milliseconds(100));
    EXPECT_EQ(connection.CloseSockets(), 0);
  });
  accepting = true;
  accepting.notify_one();
  EXPECT_EQ(connection.AcceptConnection(), 10004);
  owner.join();
  EXPECT_EQ(LastApiError(), nullptr);
}

TEST_F(SocketTest, closing_is_told_by_its_result) {
  CSocketConnection fresh;
  EXPECT_EQ(fresh.CloseSockets(), 0);
  Connect();
  phone.FailCall("closesocket");
  EXPECT_EQ(connection.CloseExchangeSocket(), -1);
  EXPECT_EQ(connection.CloseExchangeSocket(), 0) << "a socket that did not close is still there to be closed";
  phone.FailCall("closesocket");
  EXPECT_EQ(connection.CloseSockets(), -1);
  EXPECT_EQ(connection.CloseSockets(), 0);
}

TEST_F(SocketTest, Kept_leftover_record_fails_construct) {
  Fail(u"somebody", 5);
  CSocketConnection unlucky;
  EXPECT_FALSE(unlucky.Construct());
  EXPECT_EQ(TakeRecord(), u"somebody");
  // Winsock was started all the same, and nobody stops it.
  phone.ExpectHeld(handset::Held::kWinsockStart);
}

TEST_F(SocketTest, a_failing_clean_up_is_shown) {
  {
    CSocketConnection last;
    ASSERT_TRUE(last.Construct());
    phone.FailCall("WSACleanup", 10093);
  }
  EXPECT_EQ(phone.Boxes(),
            (std::vector<std::u16string>{u"CConnectionManager::~CConnectionManager|WSACleanup(): 10093"}));
  phone.ExpectHeld(handset::Held::kWinsockStart);
  phone.FailCall("WSAStartup", 10092);
  CSocketConnection other;
  EXPECT_FALSE(other.Construct());
  ASSERT_NE(LastApiError(), nullptr);
  EXPECT_EQ(LastApiError()->GetCode(), 10092u);
  EXPECT_EQ(TakeRecord(), u"WSAStartup");
}

}  // namespace
}  // namespace test
