// What brelix-phone does with a phone folder, one function a command. Each returns the process's exit code; what cannot
// be done is thrown as std::exception with a text for the user.
#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>

namespace brelix_phone {

// 0 done, 1 failed, 2 wrong usage.
inline constexpr int kExitOk = 0;
inline constexpr int kExitFailed = 1;
inline constexpr int kExitUsage = 2;

// A phone that lies to its desktops.
struct HostileOptions {
  std::optional<std::uint64_t> seed;  // of the lies; without one, the phone is honest
  bool verbose = false;               // each lie is named on standard error
};

struct ServeOptions {
  std::string listen;
  bool allowRemote = false;
  bool insecure = false;
  bool checkLeaks = false;
  HostileOptions hostile;
};

// Serves desktops, one session after the other, until SIGINT or SIGTERM.
int Serve(const std::filesystem::path& folder, const ServeOptions& options);

struct RapiOptions {
  bool checkLeaks = false;
  bool noLog = false;  // the line that the agent writes at its end into a file of the phone is left out
  HostileOptions hostile;
};

// Serves one desktop over standard input and output, through the exported remote-API entry.
int Rapi(const std::filesystem::path& folder, const RapiOptions& options);

// Lists the text messages that the phone sent, for people or as one JSON object a line.
int Outbox(const std::filesystem::path& folder, bool asJson);

}  // namespace brelix_phone
