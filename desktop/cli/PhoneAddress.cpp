#include "desktop/cli/PhoneAddress.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fmt/format.h>
#include <sstream>
#include <unistd.h>

#include "desktop/Failure.h"

namespace brelix::cli {
namespace {

namespace fs = std::filesystem;

constexpr const char* kServer = "brelix-phone";
constexpr const char* kDatabase = "phone.db";  // what makes a folder a phone's
constexpr const char* kSchemes[] = {"tcp:", "unix:", "exec:", "bluetooth:"};

// Nothing where there is none.
fs::path FindServer() {
  std::error_code error;
  const fs::path beside = fs::read_symlink("/proc/self/exe", error).parent_path() / kServer;
  if (!error && access(beside.c_str(), X_OK) == 0) return beside;
  const char* const path = std::getenv("PATH");
  std::istringstream folders(path == nullptr ? "" : path);
  for (std::string folder; std::getline(folders, folder, ':');) {
    const fs::path program = fs::path(folder) / kServer;
    if (!folder.empty() && access(program.c_str(), X_OK) == 0) return program;
  }
  return {};
}

// One word of a shell's.
std::string Quoted(const std::string& word) {
  std::string quoted = "'";
  for (const char letter : word) quoted += letter == '\'' ? std::string("'\\''") : std::string(1, letter);
  return quoted + "'";
}

}  // namespace

std::string PhoneAddress(const std::string& address_or_folder) {
  for (const char* scheme : kSchemes)
    if (address_or_folder.starts_with(scheme)) return address_or_folder;
  std::error_code error;
  if (!fs::is_regular_file(fs::path(address_or_folder) / kDatabase, error))
    throw Failure(
        Exit::kNoDevice,
        fmt::format(
            "{}: neither a device address (bluetooth:ADDRESS, tcp:HOST:PORT, unix:PATH, exec:COMMAND) nor a phone's "
            "folder; a folder has a {} in it",
            address_or_folder, kDatabase));
  if (access(address_or_folder.c_str(), W_OK) != 0)
    throw Failure(Exit::kLocalFile,
                  fmt::format("{}: a phone's folder must be writable to be served, and this one is not: {}; copy it to "
                              "another place and give the copy",
                              address_or_folder, std::strerror(errno)));
  const fs::path server = FindServer();
  if (server.empty())
    throw Failure(Exit::kNoDevice, fmt::format("{}: {}, which serves a phone's folder, is neither beside this program "
                                               "nor in PATH; install it, or serve the folder and give its address",
                                               address_or_folder, kServer));
  // A folder's name may begin with a dash.
  const fs::path folder = fs::absolute(address_or_folder);
  return fmt::format("exec:{} rapi --no-log {}", Quoted(server.string()), Quoted(folder.string()));
}

}  // namespace brelix::cli
