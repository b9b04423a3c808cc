// The phone's message store: messages accounts, folders, list, export.
#pragma once

#include "desktop/cli/Commands.h"

namespace brelix::cli {

void DeclareMessages(CLI::App& app, Action& chosen);

}  // namespace brelix::cli
