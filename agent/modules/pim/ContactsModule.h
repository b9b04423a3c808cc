// Module 3: the phone's contacts.
#pragma once

#include "agent/modules/pim/ItemModule.h"

class CContactsModule : public CItemModule {
 public:
  explicit CContactsModule(CAgentEngine& engine) : CItemModule(engine) {}
  bool Construct() { return OpenFolder(ce::olFolderContacts); }
  void HandleCommand(std::int32_t command) override;
};
