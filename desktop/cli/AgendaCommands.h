// The phone's calendar: agenda list, get, export.
#pragma once

#include "desktop/cli/Commands.h"

namespace brelix::cli {

void DeclareAgenda(CLI::App& app, Action& chosen);

}  // namespace brelix::cli
