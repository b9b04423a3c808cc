// The Bluetooth connection over a scripted radio.
#include <gtest/gtest.h>
#include <optional>

#include "agent/engine/ErrorRecord.h"
#include "agent/transport/BluetoothConnection.h"
#include "platform/Bluetooth.h"
#include "tests/support/RadioDesktop.h"
#include "tests/support/TestPhone.h"

namespace test {
namespace {

using handset::Held;
using nlohmann::json;

// The record as it is on the air, but for its channel.
constexpr const char* kBeforeChannel =
    "3578"
    "0900013503191101"
    "0900020A00000002"
    "090004350C3503190100350519000308";
constexpr const char* kAfterChannel =
    "0900053503191002"
    "090006350909656E09006A090100"
    "09000808FF"
    "090100250A4272656C697820535050"
    "090101251453505020666F72204272656C697820746F6F6C73"
    "090102250F4272656C697820536F667477617265";

std::string RecordWith(const char* channel) { return std::string(kBeforeChannel) + channel + kAfterChannel; }

class BluetoothConnection : public testing::Test {
 protected:
  void MakePhone(const json& bluetooth) { phone.emplace(json{{"bluetooth", bluetooth}}); }
  void SetUp() override { MakePhone(json::object()); }
  void TearDown() override { connection.reset(); }

  json Radio() { return (*phone)->Describe()["bluetooth"]; }
  std::uint64_t Count(Held kind) { return (*phone)->GetLedger().Count(kind); }
  bool Construct() {
    connection.emplace();
    return connection->Construct();
  }
  static std::u16string TakeRecord() {
    const CApiError* error = LastApiError();
    const std::u16string name = error == nullptr ? u"" : error->GetFunctionName();
    DropLastApiError();
    return name;
  }

  std::optional<TestPhone> phone;
  std::optional<CBluetoothConnection> connection;
};

TEST_F(BluetoothConnection, publishes_the_record_with_the_channel_that_a_desktop_then_finds) {
  MakePhone({{"takenChannels", {1, 2}}});
  EXPECT_EQ(CBluetoothConnection::szSdpRecord, 122U);
  EXPECT_EQ(CBluetoothConnection::idxPortNum, 34U);
  ASSERT_TRUE(Construct());
  EXPECT_EQ(LastApiError(), nullptr);
  ASSERT_EQ(Radio()["records"].size(), 1U);
  EXPECT_EQ(Radio()["records"][0]["hex"], RecordWith("03"));
  EXPECT_EQ(ToHex(Bytes(CBluetoothConnection::abSdpRecord, CBluetoothConnection::abSdpRecord + 122)),
            ToHex(FromHex(RecordWith("03"))));
  EXPECT_TRUE(connection->Start());
  EXPECT_EQ(connection->CheckListeningSocket(), 0);
  RadioDesktop desktop;
  ASSERT_TRUE(desktop.Connect(phone->Folder(), 3));
  EXPECT_EQ(connection->CheckListeningSocket(), 1);
  ASSERT_EQ(connection->AcceptConnection(), 0);
  desktop.Say(FromText("hello"));
  std::uint8_t buffer[8]{};
  std::int32_t count = 0;
  EXPECT_TRUE(connection->Read(buffer, count, 8));
  EXPECT_EQ(count, 5);
  EXPECT_TRUE(connection->Write(buffer, count, 5));
  EXPECT_EQ(ToHex(desktop.Hear(5)), ToHex(FromText("hello")));
  connection.reset();
  EXPECT_TRUE(Radio()["records"].empty());
  EXPECT_FALSE(desktop.Connect(phone->Folder(), 3));
}

struct ModeCase {
  json found;
  const char* failing;
  json meanwhile;
  json afterwards;
};

TEST_F(BluetoothConnection, makes_the_radio_discoverable_and_gives_it_back_what_it_found) {
  const ModeCase cases[] = {
      {"connectable", nullptr, "discoverable", "connectable"},
      {"off", nullptr, "discoverable", "off"},
      {7, nullptr, "discoverable", 7},
      {"connectable", "BthGetMode", "connectable", "connectable"},
      {"off", "BthSetMode", "off", "off"},
  };
  for (const ModeCase& row : cases) {
    SCOPED_TRACE(row.found.dump() + (row.failing != nullptr ? row.failing : ""));
    MakePhone({{"mode", row.found}});
    if (row.failing != nullptr) phone->FailCall(row.failing);
    EXPECT_TRUE(Construct());
    EXPECT_EQ(Radio()["mode"], row.meanwhile);
    connection.reset();
    EXPECT_EQ(Radio()["mode"], row.afterwards);
    EXPECT_TRUE(phone->Boxes().empty());
  }
}

TEST_F(BluetoothConnection, leaves_a_radio_alone_that_is_discoverable) {
  MakePhone({{"mode", "discoverable"}});
  ASSERT_TRUE(Construct());
  ASSERT_EQ(ce::BthSetMode(ce::BTH_POWER_OFF), 0) << "somebody else does";
  connection.reset();
  EXPECT_EQ(Radio()["mode"], "off");
}

struct Failure {
  const char* call;
  std::uint32_t code;
  std::u16string record;
  std::uint64_t starts;     // of Winsock, still there
  std::uint64_t published;  // records, still there
};

TEST_F(BluetoothConnection, a_step_that_fails_leaves_what_came_before_it_to_the_destructor) {
  const Failure cases[] = {
      {"WSAStartup", 10091, u"WSAStartup", 0, 0},
      {"socket", 10047, u"socket", 1, 0},
      {"bind", 10048, u"bind", 1, 0},
      {"getsockname", 10022, u"getsockname", 1, 0},
      {"WSASetServiceW", 8, u"WSASetService", 1, 0},
      {"listen", 10055, u"listen", 1, 1},
  };
  for (const Failure& row : cases) {
    SCOPED_TRACE(row.call);
    phone->FailCall(row.call, row.code);
    EXPECT_FALSE(Construct());
    ASSERT_NE(LastApiError(), nullptr);
    EXPECT_EQ(LastApiError()->GetCode(), row.code);
    EXPECT_EQ(TakeRecord(), row.record);
    EXPECT_EQ(Count(Held::kSocket), 0U);
    EXPECT_EQ(Count(Held::kWinsockStart), row.starts);
    EXPECT_EQ(Count(Held::kServiceRecord), row.published);
    EXPECT_EQ(Radio()["records"].size(), row.published);
    EXPECT_EQ(Radio()["mode"], "discoverable");
    connection.reset();
    EXPECT_TRUE((*phone)->GetLedger().EmptyExcept({Held::kComStart})) << (*phone)->GetLedger().Text();
    EXPECT_EQ(Radio()["mode"], "connectable");
  }
  EXPECT_TRUE(phone->Boxes().empty());
}

TEST_F(BluetoothConnection, without_a_free_channel_there_is_nothing_to_bind_to) {
  json all = json::array();
  for (int channel = 1; channel <= 30; ++channel) all.push_back(channel);
  MakePhone({{"takenChannels", all}});
  EXPECT_FALSE(Construct());
  ASSERT_NE(LastApiError(), nullptr);
  EXPECT_EQ(LastApiError()->GetCode(), 10048U);
  EXPECT_EQ(TakeRecord(), u"bind");
}

TEST_F(BluetoothConnection, Kept_no_delay_must_fail) {
  phone->FailCall("setsockopt", 10042);
  EXPECT_TRUE(Construct());
  EXPECT_EQ(LastApiError(), nullptr);
  connection.reset();
  MakePhone({{"takesNoDelay", true}});
  EXPECT_FALSE(Construct());
  EXPECT_EQ(TakeRecord(), u"setsockopt");
  EXPECT_EQ(Count(Held::kSocket), 0U);
  EXPECT_EQ(Count(Held::kServiceRecord), 1U);
}

TEST_F(BluetoothConnection, Kept_record_outlives_failed_construct) {
  phone->FailCall("listen");
  EXPECT_FALSE(Construct());
  EXPECT_EQ(TakeRecord(), u"listen");
  EXPECT_EQ(Radio()["records"][0]["hex"], RecordWith("01"));
  connection.reset();
  EXPECT_TRUE(Radio()["records"].empty());
}

TEST_F(BluetoothConnection, Kept_failed_socket_closes_nothing) {
  ASSERT_TRUE(Construct());
  RadioDesktop desktop;
  ASSERT_TRUE(desktop.Connect(phone->Folder(), 1));
  ASSERT_EQ(connection->AcceptConnection(), 0);
  phone->FailCall("socket");
  EXPECT_FALSE(connection->Construct());
  EXPECT_EQ(TakeRecord(), u"socket");
  EXPECT_EQ(Count(Held::kSocket), 2U) << "the listening socket and the desktop's";
  EXPECT_EQ(connection->CloseExchangeSocket(), 0);
  connection.reset();
  EXPECT_EQ(Count(Held::kSocket), 1U) << "nobody knows the listening socket any more";
  // Winsock was started twice, and is stopped once.
  ce::WSACleanup();
  phone->ExpectHeld(Held::kSocket);
}

TEST_F(BluetoothConnection, stop_closes_the_sockets_and_leaves_the_record) {
  ASSERT_TRUE(Construct());
  RadioDesktop desktop;
  ASSERT_TRUE(desktop.Connect(phone->Folder(), 1));
  ASSERT_EQ(connection->AcceptConnection(), 0);
  EXPECT_TRUE(connection->Stop());
  EXPECT_EQ(Count(Held::kSocket), 0U);
  EXPECT_EQ(Count(Held::kServiceRecord), 1U);
  EXPECT_TRUE(desktop.Hear(1).empty()) << "the desktop sees the end";
  EXPECT_TRUE(connection->Stop()) << "also when there is nothing to close";
}

TEST_F(BluetoothConnection, a_record_that_cannot_be_withdrawn_is_shown) {
  ASSERT_TRUE(Construct());
  phone->FailCall("WSASetServiceW", 10108);
  connection.reset();
  EXPECT_EQ(phone->Boxes(),
            (std::vector<std::u16string>{u"CBluetoothConnection::~CBluetoothConnection()|WSASetService(): 10108"}));
  EXPECT_EQ((*phone)->GetMessageBoxes().GetLog().at(0).type, 16U);
  EXPECT_EQ(Radio()["records"].size(), 1U);
  EXPECT_EQ(Radio()["mode"], "connectable");
}

// Every call of a connection's life fails once.
TEST_F(BluetoothConnection, whichever_call_fails_nothing_leaks_and_the_next_one_works) {
  std::vector<std::string> order;
  for (std::uint64_t n = 1;; ++n) {
    MakePhone(json::object());
    (*phone)->GetFaults().FailNth(n);
    Construct();
    connection.reset();
    DropLastApiError();
    if (!(*phone)->GetFaults().Fired()) break;
    order.emplace_back(handset::InfoOf(*(*phone)->GetFaults().FiredCall()).name);
    SCOPED_TRACE(order.back());
    EXPECT_TRUE((*phone)->GetLedger().EmptyExcept({Held::kComStart})) << (*phone)->GetLedger().Text();
    (*phone)->GetFaults().Clear();
    EXPECT_TRUE(Construct());
    connection.reset();
  }
  EXPECT_EQ(order, (std::vector<std::string>{"BthGetMode", "BthSetMode", "WSAStartup", "socket", "bind", "getsockname",
                                             "WSASetServiceW", "listen", "setsockopt", "BthSetMode", "WSASetServiceW",
                                             "closesocket", "WSACleanup"}));
}

}  // namespace
}  // namespace test
