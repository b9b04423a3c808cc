// What the contacts and the agenda module share: the default folder of Pocket Outlook that they serve, and commands 1,
// 3 and 5 over one open collection of its items.
#pragma once

#include "agent/engine/ComReference.h"
#include "agent/modules/pim/AgentModule.h"
#include "platform/PocketOutlook.h"

class CItemModule : public CAgentModule {
 public:
  ~CItemModule() override;

 protected:
  explicit CItemModule(CAgentEngine& engine) : CAgentModule(engine) {}

  // The start-up step: takes the default folder, olFolderContacts or olFolderCalendar.
  bool OpenFolder(ce::INT folder);

  void OpenItems(CReplyWriter& reply);
  void CloseItems(CReplyWriter& reply);
  void GetItemCount(CReplyWriter& reply);

  // The item at the 1-based place that the request's four bytes tell, as the dual interface of its kind. Null when
  // there is none; the reply has then been sent.
  CComReference<ce::IDispatch> GetRequestedItem(CReplyWriter& reply);

  ce::IFolder* m_pFolder = nullptr;
  ce::IPOutlookItemCollection* m_pItems = nullptr;  // null while closed
};
