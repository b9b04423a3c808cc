#include "tests/wire/Endpoint.h"

#include <cstring>
#include <poll.h>
#include <signal.h>
#include <stdexcept>
#include <sys/socket.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>
#include <utility>

namespace test {
namespace {

constexpr int kPatienceMilliseconds = 20000;

void Close(int& descriptor) {
  if (descriptor >= 0) close(std::exchange(descriptor, -1));
}

pid_t Start(const std::string& command, int in, int out) {
  const pid_t process = fork();
  if (process < 0) throw std::runtime_error("fork failed");
  if (process == 0) {
    if (in >= 0) dup2(in, STDIN_FILENO);
    if (out >= 0) dup2(out, STDOUT_FILENO);
    for (int other = 3; other < 64; ++other) close(other);
    const std::string direct = "exec " + command;
    execl("/bin/sh", "sh", "-c", direct.c_str(), nullptr);
    _exit(127);
  }
  return process;
}

bool EndedWell(pid_t& process) {
  if (process <= 0) return false;
  int status = 0;
  const bool waited = waitpid(std::exchange(process, -1), &status, 0) > 0;
  return waited && WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

void Kill(pid_t& process) {
  if (process > 0) {
    kill(process, SIGKILL);
    EndedWell(process);
  }
}

}  // namespace

void Endpoint::Say(const Bytes& bytes) {
  std::size_t said = 0;
  while (said < bytes.size()) {
    const ssize_t count = write(m_out, bytes.data() + said, bytes.size() - said);
    if (count < 0) throw std::runtime_error("the agent does not listen any more");
    said += static_cast<std::size_t>(count);
  }
}

Bytes Endpoint::Hear(std::size_t count) {
  Bytes heard(count);
  std::size_t have = 0;
  while (have < count) {
    pollfd readable{m_in, POLLIN, 0};
    if (poll(&readable, 1, kPatienceMilliseconds) <= 0) break;
    const ssize_t more = read(m_in, heard.data() + have, count - have);
    if (more <= 0) break;
    have += static_cast<std::size_t>(more);
  }
  heard.resize(have);
  return heard;
}

bool Endpoint::HearEnd() {
  pollfd readable{m_in, POLLIN, 0};
  char byte = 0;
  return poll(&readable, 1, kPatienceMilliseconds) == 1 && read(m_in, &byte, 1) == 0;
}

StreamEndpoint::StreamEndpoint(const std::string& command) {
  int toAgent[2];
  int fromAgent[2];
  if (pipe(toAgent) != 0 || pipe(fromAgent) != 0) throw std::runtime_error("pipe failed");
  m_process = Start(command, toAgent[0], fromAgent[1]);
  Close(toAgent[0]);
  Close(fromAgent[1]);
  m_out = toAgent[1];
  m_in = fromAgent[0];
}

StreamEndpoint::~StreamEndpoint() {
  Close(m_out);
  Close(m_in);
  Kill(m_process);
}

void StreamEndpoint::HangUp() { Close(m_out); }

void StreamEndpoint::NextSession() { throw std::runtime_error("a stream carries one session"); }

bool StreamEndpoint::Finish() {
  HangUp();
  return HearEnd() && EndedWell(m_process);
}

SocketEndpoint::SocketEndpoint(const std::string& command, std::string path)
    : m_path(std::move(path)), m_process(Start(command, -1, -1)) {
  Connect();
}

SocketEndpoint::~SocketEndpoint() {
  HangUp();
  Kill(m_process);
}

void SocketEndpoint::Connect() {
  sockaddr_un name{};
  name.sun_family = AF_UNIX;
  m_path.copy(name.sun_path, sizeof name.sun_path - 1);
  m_in = m_out = socket(AF_UNIX, SOCK_STREAM, 0);
  for (int waited = 0; connect(m_in, reinterpret_cast<sockaddr*>(&name), sizeof name) != 0; waited += 20) {
    if (waited > kPatienceMilliseconds) throw std::runtime_error("nobody listens on " + m_path);
    usleep(20000);
  }
}

void SocketEndpoint::HangUp() {
  Close(m_in);
  m_out = -1;
}

void SocketEndpoint::NextSession() {
  HangUp();
  Connect();
}

bool SocketEndpoint::Finish() {
  HangUp();
  kill(m_process, SIGTERM);
  return EndedWell(m_process);
}

}  // namespace test
