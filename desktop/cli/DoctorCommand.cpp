#include "desktop/cli/DoctorCommand.h"

#include <fmt/format.h>

#include "desktop/Text.h"
#include "desktop/doctor/Doctor.h"

namespace brelix::cli {
namespace {

using doctor::Finding;

constexpr const char* kWords[] = {"good", "remark", "bad"};  // in the order of Finding::State

void Tell(const Finding& finding, bool json) {
  const char* const state = kWords[static_cast<int>(finding.state)];
  if (json)
    return WriteToStdout(JsonLine({{"step", finding.step},
                                   {"state", state},
                                   {"text", CleanUtf8(finding.text)},
                                   {"advice", finding.advice.empty() ? Json() : Json(finding.advice)}}));
  std::string line = fmt::format("{:<6}  {:<10}  {}", state, finding.step, Printable(CleanUtf8(finding.text)));
  if (!finding.advice.empty()) line += fmt::format("; {}", finding.advice);
  WriteToStdout(line + "\n");
}

Exit Examine(const Options& options) {
  if (options.device.empty())
    throw Failure(Exit::kUsage, "which phone? Give -d ADDRESS or set BRELIX_DEVICE; see brelix --help");
  if (!options.trace_path.empty())
    throw Failure(Exit::kUsage, "doctor: there is no trace of what it says; leave --trace out");
  doctor::Examination examination;
  examination.address = options.device;
  examination.bluetooth = options.bluetooth;
  examination.timeout = std::chrono::milliseconds(static_cast<int64_t>(options.timeout_seconds * 1000));
  examination.cancel = options.cancel;
  examination.read_only = options.read_only;
  examination.tell = [&](const Finding& finding) { Tell(finding, options.json); };
  return doctor::Examine(examination);
}

}  // namespace

void DeclareDoctor(CLI::App& app, Action& chosen) {
  app.add_subcommand("doctor", "What is wrong with the connection to a phone, step by step")->callback([&chosen] {
    chosen = Action::WithoutPhone(Examine);
  });
}

}  // namespace brelix::cli
