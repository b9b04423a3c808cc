// The phone's registry: ls, get, export.
#pragma once

#include "desktop/cli/Commands.h"

namespace brelix::cli {

void DeclareRegistry(CLI::App& app, Action& chosen);

}  // namespace brelix::cli
