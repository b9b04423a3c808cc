// Module 4: the phone's appointments, for reading only.
#pragma once

#include "agent/modules/pim/ItemModule.h"

class CAgendaModule : public CItemModule {
 public:
  explicit CAgendaModule(CAgentEngine& engine) : CItemModule(engine) {}
  bool Construct() { return OpenFolder(ce::olFolderCalendar); }
  void HandleCommand(std::int32_t command) override;

 private:
  void GetAppointmentXml(CReplyWriter& reply);
};
