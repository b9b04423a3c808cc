// The listening connection of a phone that lies.
#pragma once

#include "programs/phone/ListeningConnection.h"
#include "programs/phone/hostile/Liar.h"

namespace brelix_phone::hostile {

class CHostileConnection final : public CListeningConnection {
 public:
  CHostileConnection(ce::SOCKET listening, Liar liar) : CListeningConnection(listening), m_liar(std::move(liar)) {}
  ~CHostileConnection() override = default;
  // The engine gives each reply whole, and is told that it went out whole.
  bool Write(const std::uint8_t* buffer, std::int32_t& count, std::int32_t size) override;

 private:
  bool Send(const std::string& bytes, std::int32_t& count);

  Liar m_liar;
  ce::SOCKET m_desktop = ce::INVALID_SOCKET;  // the one of the session that the liar knows
};

}  // namespace brelix_phone::hostile
