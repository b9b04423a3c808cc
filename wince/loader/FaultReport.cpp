#include "wince/loader/FaultReport.h"

#include <array>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <map>
#include <sstream>
#include <ucontext.h>
#include <unistd.h>
#include <vector>

namespace crossing {

namespace {

struct ModuleRange {
  std::string name;
  std::uintptr_t base;
  std::uint32_t size;
  std::map<std::uint32_t, std::string> symbols;  // by their place in the image
};

// Never destroyed: a thread may still fault when the program ends.
std::vector<ModuleRange>& Modules() {
  static auto* modules = new std::vector<ModuleRange>;
  return *modules;
}

std::map<std::uint32_t, std::string> ReadSymbols(const std::filesystem::path& file, std::uint32_t preferredBase) {
  std::map<std::uint32_t, std::string> symbols;
  std::ifstream stream(file);
  for (std::string line; std::getline(stream, line);) {
    std::istringstream words(line);
    std::uint32_t address = 0;
    std::string kind;
    std::string name;
    const bool read = words >> std::hex >> address >> kind && std::getline(words >> std::ws, name);
    // Sections are symbols too.
    if (read && (kind == "T" || kind == "t") && !name.starts_with(".")) {
      symbols.try_emplace(address - preferredBase, name);
    }
  }
  return symbols;
}

std::string Hex(std::uintptr_t value) {
  std::array<char, 20> text{};
  std::snprintf(text.data(), text.size(), "0x%lX", static_cast<unsigned long>(value));
  return text.data();
}

// What the process may do in a handler is little; it ends here either way.
void End(const std::string& line) {
  const std::string text = "ce-loader: " + line + "\n";
  [[maybe_unused]] const ssize_t written = write(STDERR_FILENO, text.data(), text.size());
  _exit(kFaulted);
}

void OnFault(int signal, siginfo_t* info, void* context) {
  const mcontext_t& machine = static_cast<ucontext_t*>(context)->uc_mcontext;
  std::string line = "fault in " + DescribeAddress(machine.arm_pc) + ": " + strsignal(signal);
  if (signal != SIGILL) {
    line += ", address " + Hex(reinterpret_cast<std::uintptr_t>(info->si_addr));
  }
  End(line + "; called from " + DescribeAddress(machine.arm_lr));
}

}  // namespace

void AddModule(const std::filesystem::path& file, std::uintptr_t base, std::uint32_t size,
               std::uint32_t preferredBase) {
  Modules().push_back({file.filename().string(), base, size, ReadSymbols(file.string() + ".sym", preferredBase)});
}

void ReportFaults() {
  struct sigaction action {};
  action.sa_sigaction = &OnFault;
  action.sa_flags = SA_SIGINFO;
  for (const int signal : {SIGSEGV, SIGBUS, SIGILL, SIGFPE, SIGTRAP}) {
    sigaction(signal, &action, nullptr);
  }
}

std::string DescribeAddress(std::uintptr_t address) {
  for (const ModuleRange& module : Modules()) {
    if (address < module.base || address - module.base >= module.size) continue;
    const auto offset = static_cast<std::uint32_t>(address - module.base);
    const auto after = module.symbols.upper_bound(offset);
    if (after == module.symbols.begin()) return module.name + " +" + Hex(offset);
    const auto& [start, name] = *std::prev(after);
    return module.name + " " + name + "+" + Hex(offset - start);
  }
  return "the loader at " + Hex(address);
}

void StopForFault(const char* what) {
  End(std::string("fault: the library ") + what);
  _exit(kFaulted);
}

}  // namespace crossing
