// sdp_record ADAPTER DEVICE: asks the device for its serial ports, as seen from the adapter (hci1), and prints each
// record: the handle that the server put in, how many bytes are left without it, and these bytes.
#include <fmt/format.h>
#include <fmt/ranges.h>

#include "desktop/Failure.h"
#include "desktop/bluetooth/ServiceQuery.h"

int main(int argc, char** argv) {
  using namespace brelix::bluetooth;
  const auto device = argc == 3 ? DeviceAddress::Parse(argv[2]) : std::nullopt;
  if (!device) {
    fmt::print(stderr, "usage: sdp_record ADAPTER AA:BB:CC:DD:EE:FF\n");
    return 2;
  }
  try {
    const auto deadline = brelix::Clock::now() + std::chrono::seconds(20);
    const auto records = ReadRecords(AskForSerialPorts({ChooseAdapter(argv[1]), *device}, deadline, -1));
    fmt::print("records {}\n", records.size());
    for (const RawRecord& record : records)
      fmt::print("handle {:08x}, without it {} bytes\n{:02x}\n", record.handle.value_or(0), record.bytes.size(),
                 fmt::join(record.bytes, ""));
    return 0;
  } catch (const brelix::Failure& failure) {
    fmt::print(stderr, "sdp_record: {}\n", failure.what());
    return 1;
  }
}
