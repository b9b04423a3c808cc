// Module 6: the phone's message stores. It logs on to MAPI at start-up and keeps the session as long as it lives.
#pragma once

#include "agent/modules/pim/AgentModule.h"
#include "platform/Mapi.h"

class CMessagingModule : public CAgentModule {
 public:
  explicit CMessagingModule(CAgentEngine& engine) : CAgentModule(engine) {}
  ~CMessagingModule() override;
  bool Construct();
  void HandleCommand(std::int32_t command) override;

 private:
  ce::IMAPISession* m_session = nullptr;
};
