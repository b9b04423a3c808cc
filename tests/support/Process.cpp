#include "tests/support/Process.h"

#include <atomic>
#include <cstdlib>
#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <stdexcept>
#include <sys/wait.h>
#include <unistd.h>

#include "tests/support/TemporaryFolder.h"

extern char** environ;

namespace test {

std::string FreshPath() {
  static std::atomic<int> count = 0;
  const char* folder = std::getenv("TMPDIR");
  return std::string(folder ? folder : "/tmp") + "/brelix-test." + std::to_string(getpid()) + "." +
         std::to_string(count++);
}

Process::Process(std::vector<std::string> words, const std::string& stdout_path)
    : out_path_(stdout_path.empty() ? FreshPath() : stdout_path), err_path_(FreshPath()) {
  std::vector<char*> pointers;
  for (std::string& word : words) pointers.push_back(word.data());
  pointers.push_back(nullptr);
  posix_spawn_file_actions_t files;
  posix_spawn_file_actions_init(&files);
  posix_spawn_file_actions_addopen(&files, STDOUT_FILENO, out_path_.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
  posix_spawn_file_actions_addopen(&files, STDERR_FILENO, err_path_.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
  const int error = posix_spawn(&pid_, words.front().c_str(), &files, nullptr, pointers.data(), environ);
  posix_spawn_file_actions_destroy(&files);
  if (error != 0) throw std::runtime_error("cannot run " + words.front());
}

Process::~Process() {
  if (pid_ > 0) kill(pid_, SIGKILL), Wait();
}

Outcome Process::Wait() {
  int status = 0;
  waitpid(pid_, &status, 0);
  pid_ = -1;
  Outcome outcome{WIFEXITED(status) ? WEXITSTATUS(status) : 1000 + WTERMSIG(status), "", ReadFile(err_path_)};
  unlink(err_path_.c_str());
  if (out_path_.starts_with("/dev/")) return outcome;
  outcome.out = ReadFile(out_path_);
  unlink(out_path_.c_str());
  return outcome;
}

std::string Process::Out() const { return ReadFile(out_path_); }

Outcome Process::End(int signal) {
  kill(pid_, signal);
  return Wait();
}

}  // namespace test
