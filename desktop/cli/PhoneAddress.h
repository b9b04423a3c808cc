// Where a phone is, as people say it: a device address, or a phone's folder on this computer.
#pragma once

#include <string>

namespace brelix::cli {

// A device address stays as it is. A folder becomes the exec: address that serves it with brelix-phone, which is looked
// for beside this program and then in PATH. Throws a no-device failure for what is neither, and where there is no
// brelix-phone, and a local-file failure for a folder that cannot be written to.
std::string PhoneAddress(const std::string& address_or_folder);

}  // namespace brelix::cli
