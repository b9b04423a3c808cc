// A whole engine run over a scripted connection, on the test's thread: construct, start, run until the thread ends.
#pragma once

#include <gtest/gtest.h>
#include <memory>

#include "agent/engine/AgentEngine.h"
#include "tests/support/ScriptedConnection.h"

namespace test {

// Allows and opens the session; the replies are known, so that a test can compare what comes after them.
inline Bytes HandshakeAndOpen() { return Frame(1, 247, 0x0101) + Frame(1, 1, 0x0102); }

class RecordingAgent final : public CBrelixAgent {
 public:
  void Notify(std::uint32_t code) override { codes.push_back(code); }
  std::vector<std::uint32_t> codes;
};

// Runs the script without a host agent; the engine ends with the script.
inline void RunAlone(Script& script) {
  auto engine = std::make_unique<CAgentEngine>(nullptr, new CScriptedConnection(script));
  ASSERT_TRUE(engine->Construct());
  ASSERT_TRUE(engine->Start());
  engine->WaitForExit();
}

// What the agent answers to these bytes in a session of its own.
inline Bytes Answer(const Bytes& request) {
  Script script;
  script.Give(request);
  RunAlone(script);
  return script.sent;
}

}  // namespace test
