// raw: one request as it is.
#pragma once

#include "desktop/cli/Commands.h"

namespace brelix::cli {

void DeclareRaw(CLI::App& app, Action& chosen);

}  // namespace brelix::cli
