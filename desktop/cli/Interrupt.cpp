#include "desktop/cli/Interrupt.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <signal.h>
#include <unistd.h>

#include "desktop/Failure.h"

namespace brelix::cli {
namespace {

int interrupt_pipe[2] = {-1, -1};

void OnSignal(int) {
  const int before = errno;
  [[maybe_unused]] const ssize_t ignored = write(interrupt_pipe[1], "!", 1);
  errno = before;
}

}  // namespace

int CatchInterrupts() {
  signal(SIGPIPE, SIG_IGN);
  if (pipe2(interrupt_pipe, O_CLOEXEC | O_NONBLOCK) != 0)
    throw Failure(Exit::kUnexpected, std::string("pipe: ") + std::strerror(errno));
  struct sigaction action {};
  action.sa_handler = OnSignal;
  for (const int number : {SIGINT, SIGTERM}) sigaction(number, &action, nullptr);
  return interrupt_pipe[0];
}

int InterruptFd() { return interrupt_pipe[0]; }

void HoldStandardDescriptors() {
  for (const int fd : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
    if (fcntl(fd, F_GETFD) >= 0) continue;
    // For reading only: what is written there fails, as it would have.
    if (open("/dev/null", O_RDONLY) != fd) _exit(static_cast<int>(Exit::kUnexpected));
  }
}

}  // namespace brelix::cli
