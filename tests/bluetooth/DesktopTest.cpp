// Addresses, and what devices say of their services, byte by byte. Nothing here needs an adapter.
#include <cerrno>
#include <functional>
#include <gtest/gtest.h>

#include "desktop/Failure.h"
#include "desktop/bluetooth/Adapters.h"
#include "desktop/bluetooth/ServiceRecord.h"

namespace brelix::bluetooth {
namespace {

Bytes FromHex(std::string_view text) {
  Bytes bytes;
  std::string pair;
  for (const char c : text) {
    if (c == ' ' || c == '\n') continue;
    if ((pair += c).size() < 2) continue;
    bytes.push_back(static_cast<uint8_t>(std::stoi(pair, nullptr, 16)));
    pair.clear();
  }
  return bytes;
}

std::string ToHex(ByteView bytes) {
  std::string text;
  for (const uint8_t byte : bytes) text += {"0123456789abcdef"[byte >> 4], "0123456789abcdef"[byte & 15]};
  return text;
}

Exit CodeOf(const std::function<void()>& act) {
  try {
    act();
  } catch (const Failure& failure) {
    return failure.code();
  }
  return Exit::kOk;
}

TEST(BluetoothAddress, IsReadStrictly) {
  EXPECT_EQ(ParsePhoneAddress("bluetooth:00:aa:01:00:00:42").device.Text(), "00:AA:01:00:00:42");
  EXPECT_EQ(ParsePhoneAddress("bluetooth:00:AA:01:00:00:42").channel, std::nullopt);
  EXPECT_EQ(ParsePhoneAddress("bluetooth:00:AA:01:00:00:42/30").channel, 30);
  const KernelAddress kernel = DeviceAddress::Parse("00:AA:01:00:00:42")->ForKernel();
  EXPECT_EQ(ToHex(kernel.bytes), "42000001aa00") << "the kernel's order is the other way round";
  EXPECT_EQ(DeviceAddress(kernel).Text(), "00:AA:01:00:00:42");

  for (const char* wrong :
       {"bluetooth:", "bluetooth:00:AA:01:00:00", "bluetooth:00:AA:01:00:00:4", "bluetooth:00:AA:01:00:00:42:",
        "bluetooth:00-AA-01-00-00-42", "bluetooth:00AA01000042", "bluetooth:0x:AA:01:00:00:42",
        "bluetooth:-1:AA:01:00:00:42", "bluetooth:+1:AA:01:00:00:42", "bluetooth: 1:AA:01:00:00:42",
        "bluetooth:00:00:00:00:00:00", "bluetooth:FF:FF:FF:FF:FF:FF", "bluetooth:00:AA:01:00:00:42/",
        "bluetooth:00:AA:01:00:00:42/0", "bluetooth:00:AA:01:00:00:42/31", "bluetooth:00:AA:01:00:00:42/-1",
        "bluetooth:00:AA:01:00:00:42/1x", "bluetooth:00:AA:01:00:00:42/001", "bluetooth:00:AA:01:00:00:42/257"})
    EXPECT_EQ(CodeOf([&] { ParsePhoneAddress(wrong); }), Exit::kUsage) << wrong;
}

// Two records as a server of BlueZ sends them: another's, whose channel comes behind a UUID of 16 bytes, and the
// agent's.
const std::string kOther =
    "3539 090000 0a00010003 090001 3503191101"
    "090004 351a 3503190100 3513 1c0000000300001000800000805f9b34fb 0804"
    "090100 2505 4f74686572";
const std::string kAgent =
    "3580 090000 0a00010005 090001 3503191101 090002 0a00000002"
    "090004 350c 3503190100 350519000308 0b 090005 3503191002 090006 3509 09656e 09006a 090100 090008 08ff"
    "090100 250a 4272656c697820535050"
    "090101 2514 53505020666f72204272656c697820746f6f6c73"
    "090102 250f 4272656c697820536f667477617265";
const std::string kLists = "36 00bd" + kOther + kAgent;

TEST(ServiceSearch, AsksUntilTheAnswerIsWhole) {
  ServiceSearch search;
  EXPECT_EQ(ToHex(search.Request()), "060001000f3503191101ffff35050a0000ffff00");
  const Bytes lists = FromHex(kLists);
  Bytes first = FromHex("07 0001 0067 0062");
  first.insert(first.end(), lists.begin(), lists.begin() + 0x62);
  for (const uint8_t byte : FromHex("02 beef")) first.push_back(byte);
  EXPECT_FALSE(search.Take(first));
  EXPECT_EQ(ToHex(search.Request()), "06000200113503191101ffff35050a0000ffff02beef");
  Bytes second = FromHex("07 0002 0061 005e");
  second.insert(second.end(), lists.begin() + 0x62, lists.end());
  second.push_back(0);
  EXPECT_TRUE(search.Take(second));
  EXPECT_EQ(ToHex(search.Lists()), ToHex(lists));
}

TEST(ServiceSearch, RefusesWhatIsNoAnswer) {
  struct Row {
    const char* name;
    const char* pdu;
  };
  const Row rows[] = {
      {"nothing", ""},
      {"a header alone", "07 0001 0000"},
      {"shorter than it says", "07 0001 0006 0002 3500"},
      {"longer than it says", "07 0001 0005 0002 3500 00 00"},
      {"another transaction", "07 0002 0005 0002 3500 00"},
      {"another kind", "03 0001 0005 0002 3500 00"},
      {"an error", "01 0001 0002 0003"},
      {"more bytes counted than there", "07 0001 0005 0009 3500 00"},
      {"a continuation that is cut", "07 0001 0005 0002 3500 04"},
      {"one longer than allowed", "07 0001 0016 0002 3500 11 0102030405060708090a0b0c0d0e0f1011"},
      {"one with nothing before it", "07 0001 0004 0000 01 aa"},
  };
  for (const Row& row : rows) {
    ServiceSearch search;
    search.Request();
    EXPECT_EQ(CodeOf([&] { search.Take(FromHex(row.pdu)); }), Exit::kProtocol) << row.name;
  }
}

TEST(ServiceSearch, GivesUpOnADeviceWithoutEnd) {
  ServiceSearch search;
  int answers = 0;
  const Exit code = CodeOf([&] {
    for (; answers < 1000; answers++) {
      const Bytes request = search.Request();
      Bytes answer = {0x07, request[1], request[2], 0x04, 0x04, 0x04, 0x00};
      answer.resize(answer.size() + 0x400);
      answer.insert(answer.end(), {0x01, 0xAA});
      search.Take(answer);
    }
  });
  EXPECT_EQ(code, Exit::kProtocol);
  EXPECT_EQ(answers, 64) << "of 1024 bytes each";
}

TEST(ServiceRecord, TellsTheAgentsChannel) {
  const auto ports = ReadSerialPorts(FromHex(kLists));
  ASSERT_EQ(ports.size(), 2U);
  EXPECT_EQ(ports[0].name, "Other");
  EXPECT_EQ(ports[0].channel, 4);
  EXPECT_EQ(ports[1].name, "Brelix SPP");
  EXPECT_EQ(ports[1].channel, 11);
  EXPECT_EQ(AgentChannel(ports), 11);
  EXPECT_EQ(AgentChannel({ports[0]}), std::nullopt);
  EXPECT_EQ(AgentChannel({}), std::nullopt);
  EXPECT_EQ(AgentChannel({{"Brelix SPP", 3}, {"Brelix SPP", 5}, {"Brelix SPP", std::nullopt}}), 5) << "the last";
}

// The record that the agent publishes has 122 bytes; a server adds a handle.
TEST(ServiceRecord, TellsTheHandleApart) {
  const auto records = ReadRecords(FromHex(kLists));
  ASSERT_EQ(records.size(), 2U);
  EXPECT_EQ(records[1].handle, 0x00010005U);
  EXPECT_EQ(records[1].bytes.size(), 122U);
  EXPECT_EQ(ToHex(records[1].bytes).substr(0, 20), "35780900013503191101");
  EXPECT_EQ(records[1].bytes[34], 11) << "the channel";
}

TEST(ServiceRecord, PassesOverWhatIsNone) {
  struct Row {
    const char* name;
    std::string lists;
    std::optional<size_t> ports;  // nothing: refused
    std::optional<int> channel;
  };
  const std::string name = "090100 250a 4272656c697820535050";
  const Row rows[] = {
      {"no record", "3500", 0, {}},
      {"an empty one", "3502 3500", 1, {}},
      {"an attribute without a value", "3505 3503 090100", 0, {}},
      {"a number in place of an attribute", "3504 3502 0801", 0, {}},
      {"a name with NULs behind it", "351f 351d 090100 250c 4272656c6978205350500000 090004 3507 3505190003 0806", 1,
       6},
      {"a channel that does not exist", "351d 351b" + name + "090004 3507 3505190003 081f", 1, {}},
      {"a channel of two bytes", "351e 351c" + name + "090004 3508 3506190003 090006", 1, {}},
      {"RFCOMM without a channel", "351b 3519" + name + "090004 3505 3503190003", 1, {}},
      {"a short UUID of four bytes", "351f 351d" + name + "090004 3509 35071a00000003 0806", 1, 6},
      {"protocols nested where a UUID belongs", "351b 3519" + name + "090004 3505 3503 350100", 1, {}},
      {"nothing", "", {}, {}},
      {"no sequence", "0801", {}, {}},
      {"a list longer than what came", "3504 3500", {}, {}},
      {"bytes behind the list", "3500 00", {}, {}},
      {"a record longer than the list", "3502 3504", {}, {}},
      {"a length of four bytes, of everything", "37ffffffff", {}, {}},
      {"a length that is cut", "3700", {}, {}},
  };
  for (const Row& row : rows) {
    std::vector<SerialPort> ports;
    const Exit code = CodeOf([&] { ports = ReadSerialPorts(FromHex(row.lists)); });
    EXPECT_EQ(code, row.ports ? Exit::kOk : Exit::kProtocol) << row.name;
    EXPECT_EQ(ports.size(), row.ports.value_or(0)) << row.name;
    EXPECT_EQ(AgentChannel(ports), row.channel) << row.name;
  }
}

TEST(BluetoothTrouble, IsToldApart) {
  const DeviceAddress device = *DeviceAddress::Parse("00:AA:01:00:00:42");
  const DeviceAddress first = *DeviceAddress::Parse("00:AA:01:00:00:01");
  const DeviceAddress second = *DeviceAddress::Parse("00:AA:01:00:00:02");
  const std::vector<Adapter> one_is_up = {{"hci0", first, false}, {"hci1", second, true}};
  struct Row {
    int error;
    DeviceAddress from;
    std::vector<Adapter> adapters;
    const char* part;
  };
  const Row rows[] = {
      {EHOSTUNREACH, {}, {}, "no Bluetooth adapter"},
      {EHOSTUNREACH, {}, {{"hci0", first, false}}, "bluetoothctl power on"},
      {EHOSTUNREACH, first, one_is_up, "bluetoothctl power on"},
      {EHOSTUNREACH, second, one_is_up, "out of range"},
      {EADDRNOTAVAIL, device, one_is_up, "no Bluetooth adapter"},
      {EHOSTDOWN, {}, one_is_up, "out of range"},
      {ETIMEDOUT, {}, one_is_up, "out of range"},
      {ECONNREFUSED, {}, one_is_up, "another desktop is connected"},
      {EACCES, {}, one_is_up, "bluetoothctl pair 00:AA:01:00:00:42"},
      {EBADE, {}, one_is_up, "bluetoothctl remove 00:AA:01:00:00:42"},
      {EBUSY, {}, one_is_up, "this computer is connected"},
      {EAFNOSUPPORT, {}, {}, "kernel"},
      {ENOMEM, {}, one_is_up, "connect: "},
  };
  for (const Row& row : rows) {
    const std::string text = Explain("connect", row.error, {row.from, device}, row.adapters);
    EXPECT_NE(text.find(row.part), text.npos) << row.error << ": " << text;
  }
}

}  // namespace
}  // namespace brelix::bluetooth
