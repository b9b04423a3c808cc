#include "desktop/bluetooth/ServiceRecord.h"

#include <algorithm>
#include <fmt/format.h>

#include "desktop/Failure.h"
#include "desktop/bluetooth/Address.h"

namespace brelix::bluetooth {
namespace {

// Kinds of protocol data units.
constexpr uint8_t kErrorResponse = 0x01;
constexpr uint8_t kSearchAttributeRequest = 0x06;
constexpr uint8_t kSearchAttributeResponse = 0x07;
constexpr size_t kHeaderSize = 5;  // kind, transaction (2), length of the rest (2)
constexpr size_t kMostContinuation = 16;
constexpr size_t kMostBytes = 65536;  // of all answers together; a record has some hundred

enum Attribute : uint16_t { kHandle = 0x0000, kProtocols = 0x0004, kName = 0x0100 };
constexpr uint64_t kRfcommProtocol = 0x0003;

// The types of data elements, the upper five bits of their first byte.
enum Type : uint8_t { kUnsigned = 1, kUuid = 3, kText = 4, kSequence = 6 };

struct Element {
  uint8_t type = 0;
  ByteView body;
};

[[noreturn]] void Fail(const std::string& what) {
  throw Failure(Exit::kProtocol, "the device's service discovery does not keep to the protocol: " + what);
}

uint64_t BigEndian(ByteView bytes) {
  uint64_t value = 0;
  for (const uint8_t byte : bytes) value = value << 8 | byte;
  return value;
}

// Takes the first element off; nothing when there is no whole one.
std::optional<Element> TakeElement(ByteView& rest) {
  if (rest.empty()) return std::nullopt;
  const uint8_t type = rest[0] >> 3;
  const uint8_t size = rest[0] & 7;
  size_t header = 1, length = 0;
  if (size < 5) {
    length = type == 0 ? 0 : size_t{1} << size;
  } else {
    const size_t field = size_t{1} << (size - 5);
    if (rest.size() < 1 + field) return std::nullopt;
    header += field;
    length = BigEndian(rest.subspan(1, field));
  }
  if (rest.size() - header < length) return std::nullopt;
  const Element element{type, rest.subspan(header, length)};
  rest = rest.subspan(header + length);
  return element;
}

std::optional<ByteView> TakeSequence(ByteView& rest) {
  const auto element = TakeElement(rest);
  if (!element || element->type != kSequence) return std::nullopt;
  return element->body;
}

// The short number of a UUID, which may be written out in 4 or 16 bytes. The base behind it is not looked at: nobody
// else's UUIDs begin with zeros.
uint64_t ShortUuid(const Element& element) {
  if (element.type != kUuid) return ~uint64_t{0};
  return BigEndian(element.body.subspan(0, std::min<size_t>(element.body.size(), 4)));
}

// Protocols from the lowest up, each a sequence of its UUID and its parameters.
std::optional<uint8_t> RfcommChannel(ByteView protocols) {
  while (auto protocol = TakeSequence(protocols)) {
    const auto uuid = TakeElement(*protocol);
    if (!uuid || ShortUuid(*uuid) != kRfcommProtocol) continue;
    const auto channel = TakeElement(*protocol);
    if (!channel || channel->type != kUnsigned || channel->body.size() != 1) return std::nullopt;
    return IsChannel(channel->body[0]) ? std::optional(channel->body[0]) : std::nullopt;
  }
  return std::nullopt;
}

std::string NameText(ByteView body) {
  std::string text(body.begin(), body.end());
  text.erase(text.find_last_not_of('\0') + 1);
  return text;
}

// Calls visit(attribute, element, bytes) for each attribute of a record; false when the record is not made of them.
template <typename Visit>
bool ForEachAttribute(ByteView record, Visit visit) {
  while (!record.empty()) {
    const ByteView from_here = record;
    const auto id = TakeElement(record);
    if (!id || id->type != kUnsigned || id->body.size() != 2) return false;
    const auto value = TakeElement(record);
    if (!value) return false;
    visit(static_cast<uint16_t>(BigEndian(id->body)), *value, from_here.subspan(0, from_here.size() - record.size()));
  }
  return true;
}

// Calls visit(record) for the attributes of each record.
template <typename Visit>
void ForEachRecord(ByteView lists, Visit visit) {
  auto records = TakeSequence(lists);
  if (!records || !lists.empty()) Fail("the list of records is no sequence");
  while (!records->empty()) {
    const auto record = TakeSequence(*records);
    if (!record) Fail("a record is no sequence");
    visit(*record);
  }
}

void Append16(Bytes& to, size_t value) {
  to.push_back(static_cast<uint8_t>(value >> 8));
  to.push_back(static_cast<uint8_t>(value));
}

}  // namespace

Bytes ServiceSearch::Request() {
  Bytes parameters = {
      0x35, 0x03, 0x19, 0x11, 0x01,              // the services: a sequence of one UUID, serial port
      0xFF, 0xFF,                                // bytes the answer may have
      0x35, 0x05, 0x0A, 0x00, 0x00, 0xFF, 0xFF,  // the attributes: a sequence of one range, all
  };
  parameters.push_back(static_cast<uint8_t>(continuation_.size()));
  parameters.insert(parameters.end(), continuation_.begin(), continuation_.end());
  Bytes pdu = {kSearchAttributeRequest};
  Append16(pdu, ++transaction_);
  Append16(pdu, parameters.size());
  pdu.insert(pdu.end(), parameters.begin(), parameters.end());
  return pdu;
}

bool ServiceSearch::Take(ByteView pdu) {
  if (pdu.size() < kHeaderSize || pdu.size() - kHeaderSize != Read16(pdu, 3)) Fail("an answer of the wrong length");
  if (Read16(pdu, 1) != transaction_) Fail("an answer to another question");
  const ByteView parameters = pdu.subspan(kHeaderSize);
  if (pdu[0] == kErrorResponse && parameters.size() >= 2)
    Fail(fmt::format("it refuses the question with error {}", Read16(parameters, 0)));
  if (pdu[0] != kSearchAttributeResponse || parameters.size() < 3) Fail("something else than an answer");
  const size_t count = Read16(parameters, 0);
  if (parameters.size() < 2 + count + 1) Fail("an answer that is cut");
  const ByteView continuation = parameters.subspan(2 + count + 1);
  if (continuation.size() != parameters[2 + count] || continuation.size() > kMostContinuation)
    Fail("an answer that ends wrongly");
  if (lists_.size() + count > kMostBytes) Fail("it has no end");
  if (count == 0 && !continuation.empty()) Fail("it does not get on");
  lists_.insert(lists_.end(), parameters.begin() + 2, parameters.begin() + 2 + count);
  continuation_.assign(continuation.begin(), continuation.end());
  return continuation.empty();
}

std::vector<SerialPort> ReadSerialPorts(ByteView lists) {
  std::vector<SerialPort> ports;
  ForEachRecord(lists, [&](ByteView record) {
    SerialPort port;
    const bool whole = ForEachAttribute(record, [&](uint16_t id, const Element& value, ByteView) {
      if (id == kProtocols && value.type == kSequence) port.channel = RfcommChannel(value.body);
      if (id == kName && value.type == kText) port.name = NameText(value.body);
    });
    if (whole) ports.push_back(port);
  });
  return ports;
}

std::vector<RawRecord> ReadRecords(ByteView lists) {
  std::vector<RawRecord> records;
  ForEachRecord(lists, [&](ByteView record) {
    RawRecord raw;
    Bytes rest;
    const bool whole = ForEachAttribute(record, [&](uint16_t id, const Element& value, ByteView bytes) {
      if (id == kHandle && value.type == kUnsigned && value.body.size() == 4)
        raw.handle = static_cast<uint32_t>(BigEndian(value.body));
      else
        rest.insert(rest.end(), bytes.begin(), bytes.end());
    });
    if (!whole) rest.assign(record.begin(), record.end());
    if (rest.size() < 256) {
      raw.bytes = {0x35, static_cast<uint8_t>(rest.size())};
    } else {
      raw.bytes = {0x36};
      Append16(raw.bytes, rest.size());
    }
    raw.bytes.insert(raw.bytes.end(), rest.begin(), rest.end());
    records.push_back(std::move(raw));
  });
  return records;
}

std::optional<uint8_t> AgentChannel(const std::vector<SerialPort>& ports) {
  const auto agents = [](const SerialPort& port) { return port.name == kServiceName && port.channel; };
  const auto last = std::find_if(ports.rbegin(), ports.rend(), agents);
  return last == ports.rend() ? std::nullopt : last->channel;
}

}  // namespace brelix::bluetooth
