#include <array>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <fmt/format.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>
#include <utility>

#include "desktop/Link.h"

extern char** environ;

namespace brelix {
namespace {

using std::chrono::milliseconds;
constexpr milliseconds kGoByItself{2000};  // after its input has ended
constexpr milliseconds kGoWhenTold{1000};  // after SIGTERM
constexpr milliseconds kStep{5};

struct Pipe {
  int ends[2] = {-1, -1};
  Pipe() {
    if (pipe2(ends, O_CLOEXEC) != 0) throw Failure(Exit::kUnexpected, fmt::format("pipe: {}", std::strerror(errno)));
  }
  ~Pipe() {
    for (const int end : ends)
      if (end >= 0) close(end);
  }
  int Take(int which) { return std::exchange(ends[which], -1); }
};

// The child gets a process group of its own, so that an interrupt typed at the terminal reaches us alone and the
// session can still be closed. It starts with the signals a shell would give it.
int Spawn(const std::string& command, int in, int out, pid_t& child) {
  posix_spawn_file_actions_t files;
  posix_spawnattr_t how;
  posix_spawn_file_actions_init(&files);
  posix_spawnattr_init(&how);
  posix_spawn_file_actions_adddup2(&files, in, STDIN_FILENO);
  posix_spawn_file_actions_adddup2(&files, out, STDOUT_FILENO);
  sigset_t defaults, none;
  sigemptyset(&none);
  sigemptyset(&defaults);
  for (const int signal : {SIGPIPE, SIGINT, SIGTERM}) sigaddset(&defaults, signal);
  posix_spawnattr_setsigdefault(&how, &defaults);
  posix_spawnattr_setsigmask(&how, &none);
  posix_spawnattr_setpgroup(&how, 0);
  posix_spawnattr_setflags(&how, POSIX_SPAWN_SETSIGDEF | POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETPGROUP);
  std::string text = command;
  std::array<char*, 4> words = {const_cast<char*>("sh"), const_cast<char*>("-c"), text.data(), nullptr};
  const int error = posix_spawn(&child, "/bin/sh", &files, &how, words.data(), environ);
  posix_spawnattr_destroy(&how);
  posix_spawn_file_actions_destroy(&files);
  return error;
}

class ExecLink : public Link {
 public:
  ExecLink(const std::string& address, CancelFd cancel) : Link(address, cancel) {
    Pipe to_child, from_child;
    const int error = Spawn(address.substr(5), to_child.ends[0], from_child.ends[1], child_);
    if (error != 0) Fail(Exit::kNoDevice, fmt::format("cannot be run: {}", std::strerror(error)));
    write_fd_ = to_child.Take(1);
    read_fd_ = from_child.Take(0);
    for (const int fd : {read_fd_, write_fd_}) fcntl(fd, F_SETFL, O_NONBLOCK);
  }

  ~ExecLink() override { Close(); }

  bool OneSession() const override { return true; }
  // An agent for one stream reads it byte by byte and waits for each.
  bool NeedsFiller() const override { return false; }

  void Close() override {
    CloseFd(write_fd_);
    try {
      if (!Reap(kGoByItself)) kill(child_, SIGTERM);
      CloseFd(read_fd_);
      if (!Reap(kGoWhenTold)) kill(child_, SIGKILL);
    } catch (const Failure&) {  // interrupted once more: no more patience
      CloseFd(read_fd_);
      kill(child_, SIGKILL);
    }
    if (child_ > 0) waitpid(child_, &status_, 0);
    child_ = -1;
  }

 private:
  // A program that ends without a word was no phone; one that answered before is a phone we lost.
  [[noreturn]] void Lost(const std::string& how) override {
    CloseFd(write_fd_);
    const bool ended = Reap(kGoByItself);
    const std::string why = ended ? Ending() : how;
    if (heard_) Fail(Exit::kLinkLost, fmt::format("the connection was lost: {}", why));
    Fail(Exit::kNoDevice, fmt::format("no phone there: {}; check the command", why));
  }

  std::string Ending() const {
    if (WIFSIGNALED(status_)) return fmt::format("the command was ended by signal {}", WTERMSIG(status_));
    return fmt::format("the command ended with exit status {}", WEXITSTATUS(status_));
  }

  // True when the child has ended; an interrupt ends the wait. What the child still writes is thrown away meanwhile, or
  // it might wait for us.
  bool Reap(milliseconds patience) {
    const Deadline until = Clock::now() + patience;
    while (child_ > 0) {
      const pid_t ended = waitpid(child_, &status_, WNOHANG);
      if (ended == child_ || (ended < 0 && errno == ECHILD)) child_ = -1;
      if (child_ < 0) break;
      if (Clock::now() >= until) return false;
      std::array<char, 4096> thrown_away;
      const bool more = read_fd_ >= 0 && read(read_fd_, thrown_away.data(), thrown_away.size()) > 0;
      if (!more) Wait(-1, 0, Clock::now() + kStep);
    }
    return true;
  }

  static void CloseFd(int& fd) {
    if (fd >= 0) close(fd);
    fd = -1;
  }

  pid_t child_ = -1;
  int status_ = 0;
};

}  // namespace

std::unique_ptr<Link> ConnectExec(const std::string& address, CancelFd cancel) {
  if (address.size() == 5) throw Failure(Exit::kUsage, "device address \"exec:\": the command is missing");
  return std::make_unique<ExecLink>(address, cancel);
}

}  // namespace brelix
