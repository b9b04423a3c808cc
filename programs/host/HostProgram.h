// A host program's agent: runs the engine over a connection that desktops reach, session after session.
#pragma once

#include "agent/engine/AgentEngine.h"

class CHostProgram final : public CBrelixAgent {
 public:
  CHostProgram() = default;
  ~CHostProgram() { Stop(); }
  CHostProgram(const CHostProgram&) = delete;
  CHostProgram& operator=(const CHostProgram&) = delete;

  // Takes over the connection, which is constructed, and serves desktops until Stop. False when that failed; the user
  // was told.
  bool Start(CConnectionManager* connection);
  // Waits for the session that is under way to end.
  void Stop();

  void Notify(std::uint32_t code) override;

 private:
  CAgentEngine* m_engine = nullptr;
};

// The whole program: serves desktops until the user closes the box that says so. The process's exit code.
int RunHost(CConnectionManager* connection);
