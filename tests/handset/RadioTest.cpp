// The calls of platform/Bluetooth.h over a scripted radio.
#include <fstream>
#include <functional>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <sys/socket.h>
#include <unistd.h>

#include "handset/net/UniqueFd.h"
#include "handset/radio/ScriptedRadio.h"
#include "platform/Bluetooth.h"
#include "tests/support/RadioDesktop.h"
#include "tests/support/TestPhone.h"

namespace {

using handset::Held;
using nlohmann::json;

// A query set for a record, whose members a test spoils.
struct Query {
  Query() {
    set.dwSize = sizeof set;
    set.dwNameSpace = ce::NS_BTH;
    set.lpBlob = &blob;
    blob = {sizeof block, reinterpret_cast<ce::BYTE*>(&block)};
    block.pSdpVersion = &version;
    block.pRecordHandle = &handle;
    block.ulRecordLength = 2;
    block.pRecord[0] = 0x35;
  }

  ce::ULONG version = 1;
  ce::ULONG handle = 0;
  ce::BTHNS_SETBLOB block{};
  ce::BLOB blob{};
  ce::WSAQUERYSETW set{};
};

class Radio : public testing::Test {
 protected:
  void SetUp() override {
    ce::WSADATA data;
    ASSERT_EQ(ce::WSAStartup(0x0202, &data), 0);
  }
  void TearDown() override { EXPECT_EQ(ce::WSACleanup(), 0); }

  static ce::SOCKET Make() { return ce::socket(ce::AF_BTH, ce::kSockStream, ce::BTHPROTO_RFCOMM); }
  static ce::INT Bind(ce::SOCKET socket, ce::ULONG channel, std::uint64_t adapter = 0) {
    ce::SOCKADDR_BTH address{};
    address.addressFamily = ce::AF_BTH;
    address.btAddr = adapter;
    address.port = channel;
    const bool bound = ce::bind(socket, reinterpret_cast<ce::sockaddr*>(&address), sizeof address) == 0;
    return bound ? 0 : ce::WSAGetLastError();
  }
  static ce::ULONG ChannelOf(ce::SOCKET socket) {
    ce::SOCKADDR_BTH address{};
    ce::INT size = sizeof address;
    EXPECT_EQ(ce::getsockname(socket, reinterpret_cast<ce::sockaddr*>(&address), &size), 0);
    EXPECT_EQ(size, 40);
    EXPECT_EQ(address.addressFamily, 32);
    return address.port;
  }
  static ce::INT Set(Query& query, ce::INT operation, ce::DWORD flags = 0) {
    return ce::WSASetServiceW(&query.set, operation, flags) == 0 ? 0 : ce::WSAGetLastError();
  }
  json Described() { return m_phone->Describe()["bluetooth"]; }

  test::BarePhone m_phone{json{{"bluetooth", {{"takenChannels", {1, 4}}}}}};
};

TEST_F(Radio, a_socket_has_a_channel_from_bind_on_and_gives_it_back_when_it_closes) {
  const ce::SOCKET first = Make();
  EXPECT_EQ(ChannelOf(first), 0U);
  EXPECT_EQ(Bind(first, 0), 0);
  EXPECT_EQ(ChannelOf(first), 2U);
  EXPECT_EQ(Bind(first, 0), ce::WSAEINVAL) << "bound already";
  const ce::SOCKET second = Make();
  EXPECT_EQ(Bind(second, 2), ce::WSAEADDRINUSE);
  EXPECT_EQ(Bind(second, 4), ce::WSAEADDRINUSE);
  EXPECT_EQ(Bind(second, 31), ce::WSAEADDRNOTAVAIL);
  EXPECT_EQ(Bind(second, 0, 0x112233445566), ce::WSAEADDRNOTAVAIL) << "no such adapter";
  EXPECT_EQ(Bind(second, 0), 0);
  EXPECT_EQ(ChannelOf(second), 3U);
  test::RadioDesktop desktop;
  EXPECT_FALSE(desktop.Connect(m_phone.Folder(), 2)) << "nobody listens yet";
  EXPECT_EQ(ce::listen(first, 1), 0);
  EXPECT_TRUE(desktop.Connect(m_phone.Folder(), 2));
  EXPECT_EQ(ce::closesocket(first), 0);
  EXPECT_FALSE(desktop.Connect(m_phone.Folder(), 2));
  const ce::SOCKET third = Make();
  EXPECT_EQ(Bind(third, 2), 0);
  EXPECT_EQ(ce::closesocket(second), 0);
  EXPECT_EQ(ce::closesocket(third), 0);
}

TEST_F(Radio, refuses_what_is_no_rfcomm_socket_and_no_bluetooth_address) {
  EXPECT_EQ(ce::socket(2, ce::kSockStream, ce::BTHPROTO_RFCOMM), ce::INVALID_SOCKET);
  EXPECT_EQ(ce::WSAGetLastError(), ce::WSAEAFNOSUPPORT);
  EXPECT_EQ(ce::socket(ce::AF_BTH, 2, ce::BTHPROTO_RFCOMM), ce::INVALID_SOCKET);
  EXPECT_EQ(ce::WSAGetLastError(), ce::WSAEPROTONOSUPPORT);
  int ends[2];
  ASSERT_EQ(socketpair(AF_UNIX, SOCK_STREAM, 0, ends), 0);
  const handset::UniqueFd other(ends[1]);
  const ce::SOCKET adopted = m_phone->AdoptSocket(ends[0]);
  EXPECT_EQ(Bind(adopted, 0), ce::WSAEOPNOTSUPP);
  EXPECT_EQ(Bind(12345, 0), ce::WSAENOTSOCK);
  const ce::SOCKET socket = Make();
  ce::SOCKADDR_BTH address{};
  auto* const name = reinterpret_cast<ce::sockaddr*>(&address);
  EXPECT_EQ(ce::bind(socket, name, 40), ce::SOCKET_ERROR);
  EXPECT_EQ(ce::WSAGetLastError(), ce::WSAEAFNOSUPPORT);
  EXPECT_EQ(ce::bind(socket, name, 30), ce::SOCKET_ERROR) << "the packed record of another platform";
  EXPECT_EQ(ce::WSAGetLastError(), ce::WSAEFAULT);
  ce::INT size = 39;
  EXPECT_EQ(ce::getsockname(socket, name, &size), ce::SOCKET_ERROR);
  const char off = 0;
  EXPECT_EQ(ce::setsockopt(socket, ce::kIpProtoTcp, ce::kTcpNoDelay, &off, 1), ce::SOCKET_ERROR);
  EXPECT_EQ(ce::WSAGetLastError(), ce::WSAENOPROTOOPT);
  EXPECT_EQ(ce::closesocket(socket), 0);
  EXPECT_EQ(ce::closesocket(adopted), 0);
}

TEST_F(Radio, keeps_records_until_they_are_withdrawn) {
  Query first;
  Query second;
  EXPECT_EQ(Set(first, ce::RNRSERVICE_REGISTER), 0);
  EXPECT_EQ(Set(second, ce::RNRSERVICE_REGISTER), 0);
  EXPECT_NE(first.handle, 0U);
  EXPECT_NE(first.handle, second.handle);
  EXPECT_EQ(Described()["records"].size(), 2U);
  EXPECT_EQ(Described()["records"][0]["hex"], "3500");
  EXPECT_EQ(m_phone->GetLedger().Count(Held::kServiceRecord), 2U);
  EXPECT_EQ(Set(first, ce::RNRSERVICE_DELETE), 0);
  EXPECT_EQ(Set(first, ce::RNRSERVICE_DELETE), ce::WSASERVICE_NOT_FOUND);
  EXPECT_EQ(Described()["records"].size(), 1U);
  EXPECT_EQ(Set(second, ce::RNRSERVICE_DELETE), 0);
}

TEST_F(Radio, refuses_a_query_set_that_does_not_hold_together) {
  const std::pair<const char*, std::function<void(Query&)>> kSpoilt[] = {
      {"its own size", [](Query& query) { --query.set.dwSize; }},
      {"name space", [](Query& query) { query.set.dwNameSpace = 12; }},
      {"no blob", [](Query& query) { query.set.lpBlob = nullptr; }},
      {"no block", [](Query& query) { query.blob.pBlobData = nullptr; }},
      {"short block", [](Query& query) { query.blob.cbSize = sizeof query.block - 1; }},
      {"record beyond the block", [](Query& query) { query.block.ulRecordLength = 5; }},
      {"no record", [](Query& query) { query.block.ulRecordLength = 0; }},
      {"version", [](Query& query) { query.version = 2; }},
      {"no handle", [](Query& query) { query.block.pRecordHandle = nullptr; }},
      {"handle of another", [](Query& query) { query.handle = 5; }},
  };
  for (const auto& [what, spoil] : kSpoilt) {
    Query query;
    spoil(query);
    EXPECT_NE(Set(query, ce::RNRSERVICE_REGISTER), 0) << what;
  }
  Query query;
  EXPECT_NE(Set(query, ce::RNRSERVICE_DEREGISTER), 0);
  EXPECT_NE(Set(query, ce::RNRSERVICE_REGISTER, 1), 0) << "flags";
  EXPECT_TRUE(Described()["records"].empty());
}

TEST_F(Radio, remembers_its_mode) {
  ce::DWORD mode = 9;
  EXPECT_EQ(ce::BthGetMode(&mode), 0);
  EXPECT_EQ(mode, ce::BTH_CONNECTABLE);
  EXPECT_EQ(ce::BthSetMode(0xFFFFFFFF), 0) << "modes are passed through";
  EXPECT_EQ(ce::BthGetMode(&mode), 0);
  EXPECT_EQ(mode, 0xFFFFFFFF);
  EXPECT_NE(ce::BthGetMode(nullptr), 0);
  EXPECT_EQ(handset::Handset::Open(m_phone.Folder())->Describe()["bluetooth"]["mode"], 0xFFFFFFFF);
}

// What a program that was killed held is free.
TEST_F(Radio, takes_a_channel_whose_holder_died) {
  const auto path = handset::ChannelSocket(m_phone.Folder(), 2);
  std::filesystem::create_directory(path.parent_path());
  std::ofstream(path) << "left over";
  std::ofstream(path.string() + ".lock") << "";
  const ce::SOCKET socket = Make();
  EXPECT_EQ(Bind(socket, 0), 0);
  EXPECT_EQ(ChannelOf(socket), 2U);
  EXPECT_EQ(ce::closesocket(socket), 0);
}

}  // namespace
