// Module 1: the session (handshake, open, close, exit), the radio's identity and the two device documents.
#pragma once

#include <array>

#include "agent/modules/pim/AgentModule.h"
#include "agent/modules/system/RadioIdentity.h"

class CSystemModule : public CAgentModule {
 public:
  explicit CSystemModule(CAgentEngine& engine) : CAgentModule(engine) {}

  // Queries the radio and reads the storage-card folder. False when the radio query failed; the module can be served
  // all the same, with empty texts.
  bool Construct();
  void HandleCommand(std::int32_t command) override;

 private:
  // Session
  void OpenSession(CReplyWriter& reply);
  void CloseSession(CReplyWriter& reply);
  void Handshake(CReplyWriter& reply);
  void Exit(CReplyWriter& reply);

  // Identity
  void SerialNumber(CReplyWriter& reply);
  void SubscriberNumber(CReplyWriter& reply);

  // Documents: DeviceInfo.cpp
  void PermanentInfo(CReplyWriter& reply);
  void VolatileInfo(CReplyWriter& reply);

  void ReadCardFolder();
  std::u16string_view CardFolder() const;

  CRadioIdentity m_radio;
  std::array<char16_t, 256> m_cardFolder{};  // empty when the phone has none
};
