// Short messages: sms send, sms status.
#pragma once

#include "desktop/cli/Commands.h"

namespace brelix::cli {

void DeclareSms(CLI::App& app, Action& chosen);

}  // namespace brelix::cli
