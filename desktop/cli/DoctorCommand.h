// brelix doctor: what is wrong with a connection, step by step.
#pragma once

#include "desktop/cli/Commands.h"

namespace brelix::cli {

void DeclareDoctor(CLI::App& app, Action& chosen);

}  // namespace brelix::cli
