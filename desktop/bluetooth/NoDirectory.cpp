// In place of BluezDirectory.cpp where this program was built without D-Bus.
#include "desktop/Failure.h"
#include "desktop/bluetooth/Directory.h"

namespace brelix::bluetooth {

std::unique_ptr<Directory> OpenDirectory() {
  throw Failure(Exit::kNoDevice,
                "this brelix was built without D-Bus, by which devices are found; build it with libsdbus-c++-dev "
                "installed, or give the phone's address: brelix -d bluetooth:AA:BB:CC:DD:EE:FF info");
}

}  // namespace brelix::bluetooth
