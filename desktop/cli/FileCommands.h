// The phone's files: ls, stat, cat, pull.
#pragma once

#include "desktop/cli/Commands.h"

namespace brelix::cli {

void DeclareFiles(CLI::App& app, Action& chosen);

}  // namespace brelix::cli
