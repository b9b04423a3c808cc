// Which phones are in reach: devices.
#pragma once

#include "desktop/cli/Commands.h"

namespace brelix::cli {

void DeclareDevices(CLI::App& app, Action& chosen);

}  // namespace brelix::cli
