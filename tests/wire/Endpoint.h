// The agent's end of a conversation: a process that serves a phone, over its standard input and output or over a unix
// socket.
#pragma once

#include <optional>
#include <string>
#include <sys/types.h>

#include "tests/support/Bytes.h"

namespace test {

class Endpoint {
 public:
  virtual ~Endpoint() = default;
  void Say(const Bytes& bytes);
  // At most count bytes; fewer when the agent closed or said nothing for too long.
  Bytes Hear(std::size_t count);
  // Whether the agent closed the stream, rather than saying something or nothing.
  bool HearEnd();
  virtual void HangUp() = 0;
  virtual void NextSession() = 0;
  // Ends the process. True when it said nothing more and ended, by itself or as asked, with exit code 0.
  virtual bool Finish() = 0;

 protected:
  int m_in = -1;
  int m_out = -1;
};

// Both run the command through the shell.
class StreamEndpoint final : public Endpoint {
 public:
  explicit StreamEndpoint(const std::string& command);
  ~StreamEndpoint() override;
  void HangUp() override;
  void NextSession() override;
  bool Finish() override;

 private:
  pid_t m_process;
};

class SocketEndpoint final : public Endpoint {
 public:
  SocketEndpoint(const std::string& command, std::string path);
  ~SocketEndpoint() override;
  void HangUp() override;
  void NextSession() override;
  bool Finish() override;

 private:
  void Connect();
  std::string m_path;
  pid_t m_process;
};

}  // namespace test
