// ce-loader: runs the phone's own library on 32-bit ARM Linux, over a phone in software.
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <memory>
#include <optional>
#include <system_error>
#include <unistd.h>

#include "handset/Handset.h"
#include "handset/Ledger.h"
#include "wince/loader/Crossing.h"
#include "wince/loader/FaultReport.h"
#include "wince/loader/Serve.h"

namespace {

using namespace crossing;

constexpr int kServed = 0;
constexpr int kFailed = 1;
constexpr int kUsage = 2;

// The descriptor of standard output, which from now on carries frames only; what else is printed goes to standard
// error.
int TakeStandardOutput() {
  const int stream = dup(STDOUT_FILENO);
  if (stream < 0 || dup2(STDERR_FILENO, STDOUT_FILENO) < 0) {
    throw std::system_error(errno, std::generic_category(), "standard output");
  }
  return stream;
}

std::unique_ptr<Module> Load(const std::filesystem::path& file, pe::Kind kind, Place place,
                             const std::vector<const Module*>& others = {}) {
  try {
    auto module = std::make_unique<Module>(file, kind, place, others);
    if (kind == pe::Kind::kLibrary && !module->Attach()) throw pe::PeError("its library entry refused to attach");
    return module;
  } catch (const pe::PeError& error) {
    throw pe::PeError(file.string() + ": " + error.what());
  }
}

bool Serve(handset::Handset& phone, const Options& options) {
  const std::unique_ptr<Module> library = Load(options.library, pe::Kind::kLibrary, options.place);
  if (!options.program.empty()) {
    // Programs prefer the place where this one stands itself.
    return RunProgram(*Load(options.program, pe::Kind::kProgram, Place::kElsewhere, {library.get()}), phone) == 0;
  }
  if (options.host.empty()) return ServeStream(*library, TakeStandardOutput());
  const std::unique_ptr<Module> host = Load(options.host, pe::Kind::kLibrary, options.place, {library.get()});
  return ServeHost(*host, phone, options);
}

bool TellLeaks(handset::Handset& phone) {
  for (const std::string& line : phone.GetLedger().List()) {
    std::fprintf(stderr, "ce-loader: still held: %s\n", line.c_str());
  }
  return phone.GetLedger().Empty();
}

int Run(const Options& options) {
  SetStackSkew(options.stackSkew);
  ReportFaults();
  const auto phone = handset::Handset::Open(options.phone);
  const handset::CurrentPhone current(*phone);
  const bool served = Serve(*phone, options);
  const bool clean = !options.checkLeaks || TellLeaks(*phone);
  return served && clean ? kServed : kFailed;
}

}  // namespace

int main(int argc, char** argv) {
  signal(SIGPIPE, SIG_IGN);
  try {
    const Options options = ParseOptions({argv + 1, argv + argc});
    if (options.help) {
      std::fputs(kHelp, stdout);
      return kServed;
    }
    return Run(options);
  } catch (const UsageError& error) {
    std::fprintf(stderr, "ce-loader: %s\n", error.what());
    return kUsage;
  } catch (const pe::PeError& error) {
    std::fprintf(stderr, "ce-loader: %s\n", error.what());
    return kUsage;
  } catch (const std::exception& error) {
    std::fprintf(stderr, "ce-loader: %s\n", error.what());
    return kFailed;
  }
}
