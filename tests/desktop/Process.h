// Runs the `brelix` command as a user would.
#pragma once

#include <string>
#include <sys/types.h>
#include <vector>

namespace brelix::test {

struct Outcome {
  int code = -1;
  std::string out, err;
};

class Process {
 public:
  // Standard output goes to the given file, or is collected.
  explicit Process(const std::vector<std::string>& arguments, const std::string& stdout_path = "");
  ~Process();
  pid_t pid() const { return pid_; }
  Outcome Wait();

 private:
  pid_t pid_ = -1;
  std::string out_path_, err_path_;
};

std::string FreshPath();
std::string Contents(const std::string& path);
Outcome RunBrelix(const std::vector<std::string>& arguments);

}  // namespace brelix::test
