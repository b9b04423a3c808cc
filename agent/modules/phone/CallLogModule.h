// Module 5: the phone's call history. It opens the phone library's call log at start-up and keeps it open as long as it
// lives, with a cursor over it that requests move and read. The cursor is the module's, not the session's.
#pragma once

#include "agent/modules/pim/AgentModule.h"
#include "platform/CallLog.h"

class CCallLogModule : public CAgentModule {
 public:
  explicit CCallLogModule(CAgentEngine& engine) : CAgentModule(engine) {}
  ~CCallLogModule() override;
  bool Construct();
  void HandleCommand(std::int32_t command) override;

 private:
  // Cursor
  void CountAndRewind(CReplyWriter& reply);
  void First(CReplyWriter& reply);
  void Last(CReplyWriter& reply);
  void Next(CReplyWriter& reply);
  void Previous(CReplyWriter& reply);
  bool Seek(ce::INT from, ce::DWORD index, ce::DWORD& reached);
  bool MoveTo(ce::DWORD index);

  // Document: CallDocument.cpp
  void ReadEntry(CReplyWriter& reply);

  ce::HANDLE m_log = ce::kNoHandle;
  ce::DWORD m_count = 0;
  ce::DWORD m_position = 0;  // of the entry that is read next, counted from 1; 0: none
};
