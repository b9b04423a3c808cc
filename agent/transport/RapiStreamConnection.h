// The connection over the remote-API stream that the synchronisation link hands to BrelXferRAPI. It uses none of the
// base's sockets. A read may wait for the desktop; the engine therefore never asks for more bytes than the frame it is
// receiving is certain to have.
#pragma once

#include "agent/transport/ConnectionManager.h"
#include "platform/RapiStream.h"

class CRapiStreamConnection : public CConnectionManager {
 public:
  // Takes over the caller's reference to the stream.
  explicit CRapiStreamConnection(ce::IRAPIStream* stream) : m_stream(stream) {}
  CRapiStreamConnection(const CRapiStreamConnection&) = delete;
  CRapiStreamConnection& operator=(const CRapiStreamConnection&) = delete;
  ~CRapiStreamConnection() override;

  bool Start() override { return true; }
  bool Stop() override { return true; }
  // A failure leaves no error record: the engine asks again. Only S_OK is success, S_FALSE is not.
  bool Read(std::uint8_t* buffer, std::int32_t& count, std::int32_t size) override;
  bool Write(const std::uint8_t* buffer, std::int32_t& count, std::int32_t size) override;

 private:
  ce::IRAPIStream* m_stream;
};
