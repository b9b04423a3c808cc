#include "desktop/cli/Commands.h"

#include "desktop/cli/AgendaCommands.h"
#include "desktop/cli/BackupCommands.h"
#include "desktop/cli/CallCommands.h"
#include "desktop/cli/ContactCommands.h"
#include "desktop/cli/DeviceCommands.h"
#include "desktop/cli/DevicesCommand.h"
#include "desktop/cli/DiffCommand.h"
#include "desktop/cli/DoctorCommand.h"
#include "desktop/cli/FileCommands.h"
#include "desktop/cli/MessageCommands.h"
#include "desktop/cli/RawCommand.h"
#include "desktop/cli/RegistryCommands.h"
#include "desktop/cli/RestoreCommand.h"
#include "desktop/cli/SmsCommands.h"

namespace brelix::cli {
namespace {

// One row a line.
// clang-format off
constexpr Group kGroups[] = {
    {"devices", DeclareDevices},
    {"info", DeclareInfo},
    {"status", DeclareStatus},
    {"clock", DeclareClock},
    {"contacts", DeclareContacts},
    {"agenda", DeclareAgenda},
    {"calls", DeclareCalls},
    {"messages", DeclareMessages},
    {"sms", DeclareSms},
    {"files", DeclareFiles},
    {"registry", DeclareRegistry},
    {"backup", DeclareBackup},
    {"verify", DeclareVerify},
    {"restore", DeclareRestore},
    {"diff", DeclareDiff},
    {"doctor", DeclareDoctor},
    {"raw", DeclareRaw},
};
// clang-format on

}  // namespace

std::span<const Group> Groups() { return kGroups; }

CLI::App* AddGroup(CLI::App& app, const std::string& name, const std::string& help) {
  CLI::App* group = app.add_subcommand(name, help);
  group->require_subcommand(1);
  return group;
}

}  // namespace brelix::cli
