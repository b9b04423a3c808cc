// brelix-phone: makes phones in software, prints them, and serves them to desktops.
#include <CLI/CLI.hpp>
#include <cstdio>
#include <fmt/format.h>
#include <nlohmann/json.hpp>
#include <signal.h>

#include "handset/Handset.h"
#include "programs/phone/Commands.h"
#include "programs/phone/Init.h"

namespace {

using namespace brelix_phone;

int Describe(const std::filesystem::path& folder) {
  fmt::print("{}\n", handset::Handset::Open(folder)->Describe().dump(2));
  if (std::fflush(stdout) != 0) {
    throw std::runtime_error("the description could not be written to standard output");
  }
  return kExitOk;
}

// Reads the command line and does what it says.
int Run(int argc, char** argv) {
  CLI::App app("A phone in software: make one, look at it, serve it to a desktop.", "brelix-phone");
  app.require_subcommand(1);
  app.set_help_all_flag("--help-all", "Help for all commands");

  std::filesystem::path folder;
  InitSources sources;
  ServeOptions serve;
  RapiOptions rapiOptions;
  const char* const leaksHelp = "At the end, tell what the agent did not give back to the phone; exit 1 if anything";

  auto* init = app.add_subcommand("init", "Make a phone folder");
  init->add_option("DIR", folder, "The folder to make; must not exist or be empty")->required();
  init->add_option("--from", sources.description,
                   "A description in JSON (docs/handset.md); without it, a phone of defaults");
  init->add_option("--contacts", sources.contacts, "Contacts from a vCard file");
  init->add_option("--agenda", sources.agenda, "Appointments from an iCalendar file");
  init->add_option("--mail", sources.mail, "Messages from an mbox file, as ACCOUNT/FOLDER=FILE; may be repeated")
      ->allow_extra_args(false);
  init->add_option("--files", sources.files, "A folder that is copied, with its times, as the phone's files");
  init->add_option("--registry", sources.registry, "Keys and values from a .reg file");

  auto* describe = app.add_subcommand("describe", "Print a phone as JSON; init --from makes the same phone of it");
  describe->add_option("DIR", folder, "The phone's folder")->required();

  bool asJson = false;
  auto* outbox = app.add_subcommand("outbox", "List the text messages that a phone sent");
  outbox->add_option("DIR", folder, "The phone's folder")->required();
  outbox->add_flag("--json", asJson, "One JSON object a line");

  auto* serveCommand = app.add_subcommand("serve", "Serve desktops, one session after the other, until interrupted");
  serveCommand->add_option("DIR", folder, "The phone's folder")->required();
  serveCommand->add_option("--listen", serve.listen, "tcp:HOST:PORT (port 0: any free one), unix:PATH, or bluetooth")
      ->default_val("tcp:127.0.0.1:0");
  serveCommand->add_flag("--allow-remote", serve.allowRemote,
                         "Listen on an address that other machines reach; the protocol has no authentication");
  serveCommand->add_flag("--insecure", serve.insecure, "Over Bluetooth, let desktops connect without pairing");
  serveCommand->add_flag("--check-leaks", serve.checkLeaks, leaksHelp);

  auto* rapi = app.add_subcommand("rapi", "Serve one session over standard input and output");
  rapi->add_option("DIR", folder, "The phone's folder")->required();
  rapi->add_flag("--check-leaks", rapiOptions.checkLeaks, leaksHelp);
  rapi->add_flag("--no-log", rapiOptions.noLog,
                 "Leave out the agent's line in \\brelrapi.txt, so that a phone which is only read stays as it is");

  HostileOptions hostile;
  for (CLI::App* command : {serveCommand, rapi}) {
    command->add_option("--hostile", hostile.seed, "Lie to desktops; the same number makes the same lies")
        ->option_text("SEED");
    command->add_flag("--verbose", hostile.verbose, "Name each lie on standard error");
  }

  try {
    app.parse(argc, argv);
    serve.hostile = rapiOptions.hostile = hostile;
    if (*init) return Init(folder, sources);
    if (*describe) return Describe(folder);
    if (*outbox) return Outbox(folder, asJson);
    if (*serveCommand) return Serve(folder, serve);
    return Rapi(folder, rapiOptions);
  } catch (const CLI::ParseError& error) {
    return app.exit(error) == 0 ? kExitOk : kExitUsage;
  }
}

}  // namespace

int main(int argc, char** argv) {
  signal(SIGPIPE, SIG_IGN);
  try {
    return Run(argc, argv);
  } catch (const std::invalid_argument& error) {
    std::fprintf(stderr, "brelix-phone: %s\n", error.what());
    return kExitUsage;
  } catch (const std::exception& error) {
    std::fprintf(stderr, "brelix-phone: %s\n", error.what());
    return kExitFailed;
  }
}
