// brelix: a phone's data on the command line.
#include <CLI/CLI.hpp>
#include <clocale>
#include <exception>
#include <fmt/format.h>

#include "desktop/cli/Commands.h"
#include "desktop/cli/Interrupt.h"
#include "desktop/cli/Output.h"

namespace brelix::cli {
namespace {

constexpr const char* kFooter =
    R"(Device addresses:
  tcp:HOST:PORT   an agent that listens on a network port; IPv6 as tcp:[::1]:PORT
  unix:PATH       an agent that listens on a local socket
  exec:COMMAND    an agent that talks on its standard input and output

Examples:
  brelix -d tcp:192.0.2.7:2001 info
  brelix -d unix:/run/phone.sock status --json
  BRELIX_DEVICE='exec:serve-phone ~/phone' brelix clock
  brelix -d tcp:[::1]:2001 --trace wire.txt raw 1 7

brelix help exit-codes lists the exit codes.)";

std::string ExitCodesText() {
  std::string text;
  for (const ExitRow& row : ExitTable())
    text += fmt::format("{:>4}  {:<12} {}\n", static_cast<int>(row.code), row.name, row.meaning);
  return text;
}

struct CommandLine {
  CLI::App app{"Reads a phone's data over its agent's protocol.", "brelix"};
  Request request;
  std::string topic;
  CLI::App* help = nullptr;

  CommandLine() {
    app.fallthrough();
    app.require_subcommand(1);
    app.set_version_flag("--version", "brelix " BRELIX_VERSION);
    app.add_option("-d,--device", request.device, "Where the phone is")->envname("BRELIX_DEVICE");
    app.add_flag("--json", request.json, "One JSON object instead of a table");
    app.add_option("--timeout", request.timeout_seconds, "Seconds to wait for each answer")
        ->check(CLI::Range(0.1, 3600.0))
        ->capture_default_str();
    app.add_option("--trace", request.trace_path, "Write every frame, both ways, to this file");
    for (const Command& command : Commands()) {
      CLI::App* sub = app.add_subcommand(command.name, command.help);
      command.declare(*sub, request);
    }
    app.footer(kFooter);  // after the commands, which would inherit it
    help = app.add_subcommand("help", "Explain a command, or exit-codes");
    help->add_option("TOPIC", topic, "A command, or exit-codes");
  }

  std::string HelpOn(const std::string& command) { return app.get_subcommand(command)->help("brelix"); }

  // What is wrong with it, for somebody who typed it.
  std::string Complaint(const CLI::ParseError& error) {
    const auto strangers = app.remaining();
    if (app.get_subcommands().empty() && !strangers.empty())
      return fmt::format("there is no command \"{}\"", strangers.front());
    return error.what();
  }
};

void ShowHelp(CommandLine& line) {
  if (line.topic == "exit-codes") return WriteToStdout(ExitCodesText());
  if (line.topic.empty()) return WriteToStdout(line.app.help());
  for (const Command& command : Commands())
    if (line.topic == command.name) return WriteToStdout(line.HelpOn(command.name));
  throw Failure(Exit::kUsage, fmt::format("help: there is no topic \"{}\"; see brelix --help", line.topic));
}

Exit RunOnPhone(const Command& command, const Request& request, int cancel) {
  if (request.device.empty())
    throw Failure(Exit::kUsage, "which phone? Give -d ADDRESS or set BRELIX_DEVICE; see brelix --help");
  command.check(request);
  std::optional<Trace> trace;
  if (!request.trace_path.empty()) trace.emplace(request.trace_path);

  const auto timeout = std::chrono::milliseconds(static_cast<int64_t>(request.timeout_seconds * 1000));
  Report report;
  Exit outcome;
  {
    Session session(Connect(request.device, Clock::now() + timeout, cancel),
                    {.timeout = timeout, .trace = trace ? &*trace : nullptr, .warn = Complain});
    outcome = command.run(request, session, report);
  }
  WriteToStdout(request.json ? report.ForPrograms() : report.ForPeople());
  if (trace) trace->Finish();
  return outcome;
}

Exit Run(int argc, char** argv, int cancel) {
  CommandLine line;
  try {
    line.app.parse(argc, argv);
  } catch (const CLI::CallForHelp&) {
    const auto chosen = line.app.get_subcommands();
    WriteToStdout(chosen.empty() ? line.app.help() : line.HelpOn(chosen.front()->get_name()));
    return Exit::kOk;
  } catch (const CLI::CallForVersion& version) {
    WriteToStdout(std::string(version.what()) + "\n");
    return Exit::kOk;
  } catch (const CLI::ParseError& error) {
    throw Failure(Exit::kUsage, line.Complaint(error) + "; see brelix --help");
  }
  if (line.help->parsed()) {
    ShowHelp(line);
    return Exit::kOk;
  }
  for (const Command& command : Commands())
    if (line.app.got_subcommand(command.name)) return RunOnPhone(command, line.request, cancel);
  throw Failure(Exit::kUnexpected, "a command without a row");
}

}  // namespace
}  // namespace brelix::cli

int main(int argc, char** argv) {
  using brelix::Exit;
  brelix::cli::HoldStandardDescriptors();
  if (std::setlocale(LC_CTYPE, "C.UTF-8") == nullptr) std::setlocale(LC_CTYPE, "");
  Exit outcome = Exit::kUnexpected;
  try {
    outcome = brelix::cli::Run(argc, argv, brelix::cli::CatchInterrupts());
  } catch (const brelix::Failure& failure) {
    brelix::cli::Complain(failure.what());
    outcome = failure.code();
  } catch (const std::exception& error) {
    brelix::cli::Complain(fmt::format("unexpected: {}", error.what()));
  }
  return static_cast<int>(outcome);
}
