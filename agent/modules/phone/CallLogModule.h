// Module 5: the phone's call history. It opens the phone library's call log at start-up and keeps it open as long as it
// lives.
#pragma once

#include "agent/modules/pim/AgentModule.h"

class CCallLogModule : public CAgentModule {
 public:
  explicit CCallLogModule(CAgentEngine& engine) : CAgentModule(engine) {}
  ~CCallLogModule() override;
  bool Construct();
  void HandleCommand(std::int32_t command) override;

 private:
  ce::HANDLE m_log = ce::kNoHandle;
};
