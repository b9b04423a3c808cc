// slow_link: a slow or a breaking link between a desktop and a phone.
//
//   slow_link --phone ADDRESS [--listen tcp:127.0.0.1:PORT] [OPTIONS]   prints "listening on ADDRESS"
//   slow_link --run COMMAND [OPTIONS]       carries standard input and output; the phone is what the shell runs
//
//   --delay MS      each way
//   --rate BYTES    a second, each way
//   --cut-up N      lose the link when N bytes have arrived at the phone
//   --cut-down N    or N bytes at the desktop
//   --counts FILE   write "up N down N" there when a desktop has gone; bytes that arrived
#include <CLI/CLI.hpp>
#include <fcntl.h>
#include <fmt/format.h>
#include <fstream>
#include <iostream>
#include <signal.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include "tests/support/SlowLink.h"

namespace {

struct Child {
  pid_t pid;
  test::LinkEnd end;
};

Child RunPhone(const std::string& command) {
  int to[2], from[2];
  if (pipe2(to, O_CLOEXEC) != 0 || pipe2(from, O_CLOEXEC) != 0) throw std::runtime_error("pipe");
  const pid_t pid = fork();
  if (pid == 0) {
    dup2(to[0], STDIN_FILENO);
    dup2(from[1], STDOUT_FILENO);
    signal(SIGPIPE, SIG_DFL);
    execl("/bin/sh", "sh", "-c", command.c_str(), nullptr);
    _exit(127);
  }
  close(to[0]);
  close(from[1]);
  return {pid, {from[0], to[1]}};
}

void Tell(const std::string& file, const test::LinkCounts& counts) {
  if (!file.empty()) std::ofstream(file) << fmt::format("up {} down {}\n", counts.up, counts.down);
}

}  // namespace

int main(int argc, char** argv) {
  CLI::App app{"A slow or a breaking link between a desktop and a phone.", "slow_link"};
  std::string phone, listen = "tcp:127.0.0.1:0", command, counts_file;
  double delay = 0;
  test::LinkSettings settings;
  auto* to_phone = app.add_option("--phone", phone);
  app.add_option("--listen", listen)->needs(to_phone);
  app.add_option("--run", command)->excludes(to_phone);
  app.add_option("--delay", delay);
  app.add_option("--rate", settings.bytes_per_second);
  app.add_option("--cut-up", settings.cut_up);
  app.add_option("--cut-down", settings.cut_down);
  app.add_option("--counts", counts_file);
  CLI11_PARSE(app, argc, argv);
  settings.delay = std::chrono::microseconds(static_cast<std::int64_t>(delay * 1000));
  signal(SIGPIPE, SIG_IGN);
  try {
    if (!command.empty()) {
      const Child child = RunPhone(command);
      Tell(counts_file, test::Carry({STDIN_FILENO, STDOUT_FILENO}, child.end, settings));
      int status = 0;
      waitpid(child.pid, &status, 0);
      return 0;
    }
    const int listener = test::ListenOn(listen);
    std::cout << "listening on " << listen << std::endl;
    for (;;) {
      const int desktop = accept4(listener, nullptr, nullptr, SOCK_CLOEXEC);
      if (desktop < 0) return 1;
      Tell(counts_file, test::Carry({desktop, desktop}, test::ConnectTo(phone), settings));
    }
  } catch (const std::exception& error) {
    std::cerr << "slow_link: " << error.what() << "\n";
    return 1;
  }
}
