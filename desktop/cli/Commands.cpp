#include "desktop/cli/Commands.h"

#include "desktop/cli/DeviceCommands.h"
#include "desktop/cli/FileCommands.h"
#include "desktop/cli/RawCommand.h"

namespace brelix::cli {
namespace {

constexpr Group kGroups[] = {
    {"info", DeclareInfo},
    {"status", DeclareStatus},
    {"clock", DeclareClock},
    {"files", DeclareFiles},
    {"raw", DeclareRaw},
};

}  // namespace

std::span<const Group> Groups() { return kGroups; }

CLI::App* AddGroup(CLI::App& app, const std::string& name, const std::string& help) {
  CLI::App* group = app.add_subcommand(name, help);
  group->require_subcommand(1);
  return group;
}

}  // namespace brelix::cli
