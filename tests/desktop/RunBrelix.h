// The `brelix` command under test.
#pragma once

#include "tests/support/Process.h"
#include "tests/support/TemporaryFolder.h"

namespace brelix::test {

using ::test::FreshPath;
using ::test::Outcome;
using ::test::Process;
using ::test::ReadFile;

inline std::vector<std::string> Brelix(std::vector<std::string> arguments) {
  arguments.insert(arguments.begin(), BRELIX_COMMAND);
  return arguments;
}

inline Outcome RunBrelix(const std::vector<std::string>& arguments) { return ::test::Run(Brelix(arguments)); }

}  // namespace brelix::test
