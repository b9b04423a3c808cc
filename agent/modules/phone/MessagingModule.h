// Module 6: the phone's message stores, and text messages. It logs on to MAPI at start-up and keeps the session as long
// as it lives. An account and a folder are selected by name; while messages are read, the way down to them stays open.
#pragma once

#include <array>

#include "agent/modules/phone/MailPath.h"
#include "agent/modules/pim/AgentModule.h"

class CMessagingModule : public CAgentModule {
 public:
  explicit CMessagingModule(CAgentEngine& engine) : CAgentModule(engine) {}
  ~CMessagingModule() override;
  bool Construct();
  void HandleCommand(std::int32_t command) override;

 private:
  // A display name with its terminating 0; empty: none selected.
  using Name = std::array<char16_t, 256>;

  // Selection
  void SelectAccount(CReplyWriter& reply);
  void ClearAccount(CReplyWriter& reply);
  void SelectFolder(CReplyWriter& reply);
  void ClearFolder(CReplyWriter& reply);
  void Select(CReplyWriter& reply, Name& name);
  bool HasFolder() const { return m_account[0] != 0 && m_folder[0] != 0; }
  void CloseMessages();

  // Stores: MessageStores.cpp
  void ListAccounts(CReplyWriter& reply);
  void ListFolders(CReplyWriter& reply);
  void CountMessages(CReplyWriter& reply);
  void ReadMessage(CReplyWriter& reply);

  // Text messages: SmsSending.cpp
  void SendSms(CReplyWriter& reply);
  void GetSmsStatus(CReplyWriter& reply);

  bool m_reading = false;  // m_path is open down to the messages
  Name m_account{};
  Name m_folder{};
  ce::IMAPISession* m_session = nullptr;
  CMailPath m_path;
};
