#pragma once

#include "desktop/cli/Commands.h"

namespace brelix::cli {

void DeclareBackup(CLI::App& app, Action& chosen);
void DeclareVerify(CLI::App& app, Action& chosen);

}  // namespace brelix::cli
