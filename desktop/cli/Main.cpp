// brelix: a phone's data on the command line.
#include <CLI/CLI.hpp>
#include <clocale>
#include <exception>
#include <fmt/format.h>
#include <fmt/ranges.h>

#include "desktop/cli/Commands.h"
#include "desktop/cli/Interrupt.h"
#include "desktop/cli/Output.h"

namespace brelix::cli {
namespace {

constexpr const char* kFooter =
    R"(Device addresses:
  bluetooth:ADDRESS[/CHANNEL]
                  a phone by its Bluetooth address; its channel is looked up
  tcp:HOST:PORT   an agent that listens on a network port; IPv6 as tcp:[::1]:PORT
  unix:PATH       an agent that listens on a local socket
  exec:COMMAND    an agent that talks on its standard input and output

Examples:
  brelix devices
  brelix -d bluetooth:AA:BB:CC:DD:EE:FF info
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
  CLI::App app{"Reads and writes a phone's data over its agent's protocol.", "brelix"};
  Options options;
  Action chosen;
  std::vector<std::string> topic;
  CLI::App* help = nullptr;

  CommandLine() {
    app.fallthrough();
    app.require_subcommand(1);
    app.set_version_flag("--version", "brelix " BRELIX_VERSION);
    app.add_option("-d,--device", options.device, "Where the phone is")->envname("BRELIX_DEVICE");
    app.add_flag("--json", options.json, "JSON instead of a table; lists as one object a line");
    app.add_option("--timeout", options.timeout_seconds, "Seconds to wait for each answer")
        ->check(CLI::Range(0.1, 3600.0))
        ->capture_default_str();
    app.add_option("--window", options.window, "Requests under way at a time where many are asked; 1 asks one by one")
        ->check(CLI::Range(size_t{1}, wire::kMostWindow))
        ->envname("BRELIX_WINDOW")
        ->capture_default_str();
    app.add_option("--trace", options.trace_path, "Write every frame, both ways, to this file");
    app.add_option("--adapter", options.bluetooth.adapter,
                   "Which Bluetooth adapter of this computer, hci1 for example");
    app.add_flag("--insecure", options.bluetooth.insecure, "Do not ask for a pairing over Bluetooth");
    app.add_flag("--read-only", options.read_only, "Send nothing that changes the phone")->envname("BRELIX_READ_ONLY");
    for (const Group& group : Groups()) group.declare(app, chosen);
    app.footer(kFooter);  // after the commands, which would inherit it
    help = app.add_subcommand("help", "Explain a command, or exit-codes");
    help->add_option("TOPIC", topic, "A command, or exit-codes");
    help->allow_extras(false);
  }

  // What is wrong with it, for somebody who typed it.
  std::string Complaint(const CLI::ParseError& error) {
    const auto strangers = app.remaining();
    if (app.get_subcommands().empty() && !strangers.empty())
      return fmt::format("there is no command \"{}\"", strangers.front());
    return error.what();
  }
};

void ShowHelp(CommandLine& line) {
  if (line.topic == std::vector<std::string>{"exit-codes"}) return WriteToStdout(ExitCodesText());
  if (line.topic.empty()) return WriteToStdout(line.app.help());
  const CLI::App* command = &line.app;
  std::string path;
  try {
    for (const std::string& word : line.topic) {
      path += (path.empty() ? "" : " ") + command->get_name();
      command = command->get_subcommand(word);
    }
  } catch (const CLI::OptionNotFound&) {
    throw Failure(Exit::kUsage,
                  fmt::format("help: there is no topic \"{}\"; see brelix --help", fmt::join(line.topic, " ")));
  }
  WriteToStdout(command->help(path));
}

Exit RunOnPhone(const std::function<Exit(Context&)>& action, const Options& options) {
  if (options.device.empty())
    throw Failure(Exit::kUsage, "which phone? Give -d ADDRESS or set BRELIX_DEVICE; see brelix --help");
  const bool for_bluetooth = !options.bluetooth.adapter.empty() || options.bluetooth.insecure;
  if (for_bluetooth && !options.device.starts_with("bluetooth:"))
    throw Failure(Exit::kUsage, fmt::format("device address \"{}\": --adapter and --insecure are for bluetooth: "
                                            "addresses",
                                            options.device));
  std::optional<Trace> trace;
  if (!options.trace_path.empty()) trace.emplace(options.trace_path);

  const auto timeout = std::chrono::milliseconds(static_cast<int64_t>(options.timeout_seconds * 1000));
  Report report;
  Exit outcome;
  {
    Session session(Connect(options.device, Clock::now() + timeout, options.cancel, options.bluetooth),
                    {.timeout = timeout,
                     .trace = trace ? &*trace : nullptr,
                     .read_only = options.read_only,
                     .window = options.window,
                     .warn = Complain});
    Context context{options, session};
    outcome = action(context);
    report = std::move(context.report);
  }
  if (!report.Empty()) WriteToStdout(options.json ? report.ForPrograms() : report.ForPeople());
  if (trace) trace->Finish();
  return outcome;
}

Exit Run(int argc, char** argv, int cancel) {
  CommandLine line;
  try {
    line.app.parse(argc, argv);
  } catch (const CLI::CallForHelp&) {
    WriteToStdout(line.app.help());  // of the command that was chosen, where one was
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
  line.options.cancel = cancel;
  if (line.chosen.without_phone) return line.chosen.without_phone(line.options);
  if (line.chosen.without_device && line.options.device.empty()) return line.chosen.without_device(line.options);
  if (!line.chosen.on_phone) throw Failure(Exit::kUnexpected, "a command that leaves nothing to do");
  if (line.chosen.before_phone) line.chosen.before_phone(line.options);
  return RunOnPhone(line.chosen.on_phone, line.options);
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
