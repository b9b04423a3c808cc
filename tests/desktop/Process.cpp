#include "tests/desktop/Process.h"

#include <atomic>
#include <cstdlib>
#include <fcntl.h>
#include <fstream>
#include <signal.h>
#include <spawn.h>
#include <sstream>
#include <stdexcept>
#include <sys/wait.h>
#include <unistd.h>

extern char** environ;

namespace brelix::test {

std::string FreshPath() {
  static std::atomic<int> count = 0;
  const char* folder = std::getenv("TMPDIR");
  return std::string(folder ? folder : "/tmp") + "/desktop_tests." + std::to_string(getpid()) + "." +
         std::to_string(count++);
}

std::string Contents(const std::string& path) {
  std::ostringstream text;
  text << std::ifstream(path).rdbuf();
  return text.str();
}

Process::Process(const std::vector<std::string>& arguments, const std::string& stdout_path)
    : out_path_(stdout_path.empty() ? FreshPath() : stdout_path), err_path_(FreshPath()) {
  std::vector<std::string> words = {BRELIX_COMMAND};
  words.insert(words.end(), arguments.begin(), arguments.end());
  std::vector<char*> pointers;
  for (std::string& word : words) pointers.push_back(word.data());
  pointers.push_back(nullptr);
  posix_spawn_file_actions_t files;
  posix_spawn_file_actions_init(&files);
  posix_spawn_file_actions_addopen(&files, STDOUT_FILENO, out_path_.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
  posix_spawn_file_actions_addopen(&files, STDERR_FILENO, err_path_.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
  const int error = posix_spawn(&pid_, BRELIX_COMMAND, &files, nullptr, pointers.data(), environ);
  posix_spawn_file_actions_destroy(&files);
  if (error != 0) throw std::runtime_error("cannot run " BRELIX_COMMAND);
}

Process::~Process() {
  if (pid_ > 0) kill(pid_, SIGKILL), Wait();
}

Outcome Process::Wait() {
  int status = 0;
  waitpid(pid_, &status, 0);
  pid_ = -1;
  Outcome outcome{WIFEXITED(status) ? WEXITSTATUS(status) : 1000 + WTERMSIG(status), "", Contents(err_path_)};
  unlink(err_path_.c_str());
  if (out_path_.starts_with("/dev/")) return outcome;
  outcome.out = Contents(out_path_);
  unlink(out_path_.c_str());
  return outcome;
}

Outcome RunBrelix(const std::vector<std::string>& arguments) { return Process(arguments).Wait(); }

}  // namespace brelix::test
