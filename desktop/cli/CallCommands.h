// The phone's call history: calls list, calls export.
#pragma once

#include "desktop/cli/Commands.h"

namespace brelix::cli {

void DeclareCalls(CLI::App& app, Action& chosen);

}  // namespace brelix::cli
