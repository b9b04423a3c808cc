// What the phone is and how it is: info, status, clock.
#pragma once

#include "desktop/cli/Commands.h"

namespace brelix::cli {

void DeclareInfo(CLI::App& app, Action& chosen);
void DeclareStatus(CLI::App& app, Action& chosen);
void DeclareClock(CLI::App& app, Action& chosen);

}  // namespace brelix::cli
