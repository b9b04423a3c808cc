// Writing back to a phone what can be written of a backup: its contacts.
#pragma once

#include "desktop/cli/Commands.h"

namespace brelix::cli {

void DeclareRestore(CLI::App& app, Action& chosen);

}  // namespace brelix::cli
