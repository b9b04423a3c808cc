// Runs a command and keeps what it said.
#pragma once

#include <cstdlib>
#include <fstream>
#include <string>
#include <sys/wait.h>

#include "tests/support/TemporaryFolder.h"

namespace test {

struct Heard {
  int exitCode;
  std::string out;
  std::string error;
  bool operator==(const Heard&) const = default;
};

// Through the shell, with the input on standard input; a command that does not end in a minute is ended (exit code
// 124).
inline Heard RunCommand(const std::string& command, const std::string& input) {
  const TemporaryFolder folder;
  const std::string base = (folder.Path() / "std").string();
  std::ofstream(base + "in", std::ios::binary) << input;
  const int status =
      std::system(("timeout 60 " + command + " <" + base + "in >" + base + "out 2>" + base + "err").c_str());
  return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, ReadFile(base + "out"), ReadFile(base + "err")};
}

}  // namespace test
