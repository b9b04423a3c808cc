// In place of BlueZ's radio in a program that was built without D-Bus.
#include "handset/Errors.h"
#include "handset/radio/BluezRadio.h"

namespace handset {

BluezPlace OpenBluez(BluezOptions) {
  throw RadioError("this program was built without Bluetooth; install the package libsdbus-c++-dev and build it again");
}

}  // namespace handset
