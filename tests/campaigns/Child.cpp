#include "tests/campaigns/Child.h"

#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <fstream>
#include <spawn.h>
#include <stdexcept>
#include <sys/resource.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

extern char** environ;

namespace campaign {
namespace {

constexpr std::size_t kMostSaid = 64 * 1024;

std::vector<char*> Pointers(std::vector<std::string>& words) {
  std::vector<char*> pointers;
  for (std::string& word : words) pointers.push_back(word.data());
  pointers.push_back(nullptr);
  return pointers;
}

// In a process group of its own.
pid_t Spawn(const ChildRun& run) {
  posix_spawn_file_actions_t files;
  posix_spawnattr_t how;
  posix_spawn_file_actions_init(&files);
  posix_spawnattr_init(&how);
  posix_spawn_file_actions_addopen(&files, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
  posix_spawn_file_actions_addopen(&files, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
  posix_spawn_file_actions_addopen(&files, STDERR_FILENO, run.err.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
  posix_spawn_file_actions_addchdir_np(&files, run.folder.c_str());
  posix_spawnattr_setpgroup(&how, 0);
  posix_spawnattr_setflags(&how, POSIX_SPAWN_SETPGROUP);
  std::vector<std::string> words = run.words, settings = run.settings;
  for (char** own = environ; *own != nullptr; own++) settings.emplace_back(*own);
  pid_t child = -1;
  const int error =
      posix_spawn(&child, words[0].c_str(), &files, &how, Pointers(words).data(), Pointers(settings).data());
  posix_spawn_file_actions_destroy(&files);
  posix_spawnattr_destroy(&how);
  if (error != 0) throw std::runtime_error(words[0] + " cannot be run");
  return child;
}

}  // namespace

Ending RunChild(const ChildRun& run) {
  const pid_t child = Spawn(run);
  const auto until = std::chrono::steady_clock::now() + run.limit;
  Ending ending;
  int status = 0;
  rusage used{};
  while (wait4(child, &status, WNOHANG, &used) == 0) {
    std::this_thread::sleep_for(std::chrono::milliseconds(2));
    if (ending.too_long || std::chrono::steady_clock::now() < until) continue;
    ending.too_long = true;
    kill(-child, SIGKILL);
  }
  ending.exit = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  ending.signal = WIFSIGNALED(status) ? WTERMSIG(status) : 0;
  ending.peak_kib = used.ru_maxrss;
  std::ifstream said(run.err);
  ending.err.resize(kMostSaid);
  said.read(ending.err.data(), static_cast<std::streamsize>(kMostSaid));
  ending.err.resize(static_cast<std::size_t>(said.gcount()));
  return ending;
}

bool Sanitized(const Ending& ending) {
  return ending.err.find("runtime error:") != std::string::npos || ending.err.find("Sanitizer") != std::string::npos;
}

}  // namespace campaign
