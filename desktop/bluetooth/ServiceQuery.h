// Asks a device for its services, over a connection of its own.
#pragma once

#include "desktop/Waiting.h"
#include "desktop/bluetooth/Adapters.h"
#include "desktop/bluetooth/ServiceRecord.h"

namespace brelix::bluetooth {

// What the device says of its serial ports, as sent (see ServiceSearch::Lists). Throws a no-device failure when it
// cannot be reached.
Bytes AskForSerialPorts(const Route& route, Deadline deadline, CancelFd cancel);

}  // namespace brelix::bluetooth
