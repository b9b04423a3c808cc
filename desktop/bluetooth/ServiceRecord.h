// What a device says of its services (Service Discovery Protocol): the request and the answers that ask for the serial
// ports of a device, and the records in them. The other end is not trusted: every length is checked, and what a device
// may send in all is bounded.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "desktop/FrameCodec.h"

namespace brelix::bluetooth {

// One question, which may take several requests: an answer that does not fit says how to ask for the rest.
//
//     ServiceSearch search;
//     do Send(search.Request()); while (!search.Take(Receive()));
//     Read(search.Lists());
class ServiceSearch {
 public:
  // The next request: for all attributes of all services of class 0x1101 (serial port).
  Bytes Request();
  // Takes the answer to it. True when it was the last; throws a protocol failure for anything else than an answer.
  bool Take(ByteView pdu);
  // What was received: one data element, a sequence of records, each a sequence of attributes.
  ByteView Lists() const { return lists_; }

 private:
  uint16_t transaction_ = 0;
  Bytes continuation_;
  Bytes lists_;
};

struct SerialPort {
  std::string name;                // as sent, without the NULs some end it with
  std::optional<uint8_t> channel;  // of RFCOMM; nothing when the record names none that exists
};

// The records of the lists in their order. What is no record of data elements is passed over; throws a protocol failure
// where it cannot be told where records begin and end.
std::vector<SerialPort> ReadSerialPorts(ByteView lists);

// The record's bytes of each service, one data element each, and the handle that the device put in (attribute 0).
struct RawRecord {
  std::optional<uint32_t> handle;
  Bytes bytes;  // without the handle's attribute, the length in front put right
};
std::vector<RawRecord> ReadRecords(ByteView lists);

// The agent's own service.
constexpr const char* kServiceName = "Brelix SPP";

// The channel of the agent's service. Chosen: of several records the last, since devices list them in the order in
// which they were published, and an agent that ended badly may have left one behind.
std::optional<uint8_t> AgentChannel(const std::vector<SerialPort>& ports);

}  // namespace brelix::bluetooth
