#include "tests/backup/KilledAt.h"

#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <map>
#include <stdexcept>
#include <sys/ptrace.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

namespace test {
namespace {

const std::map<long, std::string> kSteps = {
    {SYS_rename, "rename"},     {SYS_renameat, "rename"}, {SYS_renameat2, "rename"}, {SYS_mkdir, "mkdir"},
    {SYS_mkdirat, "mkdir"},     {SYS_unlink, "unlink"},   {SYS_unlinkat, "unlink"},  {SYS_rmdir, "unlink"},
    {SYS_fsync, "sync"},        {SYS_syncfs, "sync"},     {SYS_fdatasync, "sync"},   {SYS_link, "link"},
    {SYS_ftruncate, "truncate"}};

pid_t Start(std::vector<std::string>& words) {
  std::vector<char*> arguments;
  for (std::string& word : words) arguments.push_back(word.data());
  arguments.push_back(nullptr);
  const pid_t child = fork();
  if (child < 0) throw std::runtime_error("fork");
  if (child > 0) return child;
  // A watched process cannot watch itself for leaks.
  setenv("ASAN_OPTIONS", "detect_leaks=0", 1);
  const int nowhere = open("/dev/null", O_WRONLY);
  dup2(nowhere, 1);
  dup2(nowhere, 2);
  ptrace(PTRACE_TRACEME, 0, nullptr, nullptr);
  execv(arguments[0], arguments.data());
  _exit(127);
}

// `stop` is given the program's number where it has come to the step `at`.
Steps RunTo(std::vector<std::string> words, size_t at, const std::function<void(pid_t)>& stop) {
  const pid_t child = Start(words);
  int status = 0;
  waitpid(child, &status, 0);
  ptrace(PTRACE_SETOPTIONS, child, nullptr, PTRACE_O_TRACESYSGOOD);
  Steps steps;
  for (long deliver = 0;;) {
    ptrace(PTRACE_SYSCALL, child, nullptr, deliver);
    waitpid(child, &status, 0);
    deliver = 0;
    if (WIFEXITED(status) || WIFSIGNALED(status)) {
      if (WIFEXITED(status)) steps.exit_code = WEXITSTATUS(status);
      return steps;
    }
    if (WSTOPSIG(status) != (SIGTRAP | 0x80)) {
      deliver = WSTOPSIG(status) == SIGTRAP ? 0 : WSTOPSIG(status);
      continue;
    }
    __ptrace_syscall_info call{};
    ptrace(PTRACE_GET_SYSCALL_INFO, child, sizeof call, &call);
    if (call.op != PTRACE_SYSCALL_INFO_ENTRY) continue;
    const auto step = kSteps.find(static_cast<long>(call.entry.nr));
    if (step == kSteps.end()) continue;
    if (steps.names.size() == at) stop(child);
    steps.names.push_back(step->second);
  }
}

}  // namespace

Steps RunKilledAt(std::vector<std::string> words, size_t at) {
  return RunTo(std::move(words), at, [](pid_t child) { kill(child, SIGKILL); });
}

Steps RunStoppedAt(std::vector<std::string> words, size_t at, const std::function<void()>& meanwhile) {
  return RunTo(std::move(words), at, [&](pid_t) { meanwhile(); });
}

}  // namespace test
