// brelix diff: what two phones do not have in common.
#pragma once

#include "desktop/cli/Commands.h"

namespace brelix::cli {

void DeclareDiff(CLI::App& app, Action& chosen);

}  // namespace brelix::cli
