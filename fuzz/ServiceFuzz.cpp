// What a device may say of its services, whatever it holds: as answers to our requests, one after the other, each with
// its length in front (two bytes), and as a list of records by itself.
#include <algorithm>
#include <cstdlib>

#include "desktop/Failure.h"
#include "desktop/bluetooth/Address.h"
#include "desktop/bluetooth/ServiceRecord.h"

namespace {

using namespace brelix;
using namespace brelix::bluetooth;

void Need(bool holds) {
  if (!holds) std::abort();
}

template <typename Act>
void Try(Act act) {
  try {
    act();
  } catch (const Failure& failure) {
    Need(failure.code() == Exit::kProtocol);
  }
}

void Read(ByteView lists) {
  const auto ports = ReadSerialPorts(lists);
  Need(ports.size() <= lists.size());
  for (const SerialPort& port : ports) Need(!port.channel || IsChannel(*port.channel));
  const auto channel = AgentChannel(ports);
  Need(!channel || IsChannel(*channel));
  size_t bytes = 0;
  for (const RawRecord& record : ReadRecords(lists)) bytes += record.bytes.size();
  Need(bytes <= lists.size() + ports.size() + 3 * lists.size());
}

void Answer(ByteView answers) {
  ServiceSearch search;
  for (bool last = false; !last && answers.size() >= 2;) {
    const Bytes request = search.Request();
    Need(request.size() <= 5 + 15 + 16);
    const size_t size = std::min<size_t>(Read16(answers, 0), answers.size() - 2);
    Bytes pdu(answers.begin() + 2, answers.begin() + 2 + size);
    // The transaction is ours, or nothing would ever be taken.
    for (size_t i = 1; i < 3 && i < pdu.size(); i++) pdu[i] = request[i];
    answers = answers.subspan(2 + size);
    last = search.Take(pdu);
  }
  Need(search.Lists().size() <= 65536);
  Read(search.Lists());
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  Try([&] { Answer({bytes, size}); });
  Try([&] { Read({bytes, size}); });
  return 0;
}
