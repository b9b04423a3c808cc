// The base of the five protocol modules. A module answers the requests of one module id: its handler for a command
// writes the reply body through a CReplyWriter and says so with Send. A command that has no handler leaves the engine's
// out length alone, and the engine's default reply goes out.
//
// Handlers run on the engine thread, one request at a time.
#pragma once

#include <algorithm>
#include <cstdint>
#include <iterator>
#include <span>

#include "agent/engine/AgentEngine.h"
#include "agent/engine/ReplyWriter.h"
#include "agent/engine/WireFormat.h"

class CAgentModule {
 public:
  explicit CAgentModule(CAgentEngine& engine);
  CAgentModule(const CAgentModule&) = delete;
  CAgentModule& operator=(const CAgentModule&) = delete;
  virtual ~CAgentModule() = default;
  virtual void HandleCommand(std::int32_t command) = 0;

 protected:
  template <class Module>
  struct Command {
    std::int32_t number;
    void (Module::*handler)(CReplyWriter& reply);  // null: a reserved number, answered as an unknown one
  };

  // For static_assert on a module's table: rising numbers, none twice.
  template <class Row>
  static consteval bool Rises(const Row* rows, std::size_t count) {
    for (std::size_t i = 1; i < count; ++i) {
      if (rows[i - 1].number >= rows[i].number) {
        return false;
      }
    }
    return true;
  }

  // Writes the module id, finds the command's row and lets its handler answer.
  template <class Module, std::size_t Count>
  void Dispatch(wire::Module id, const Command<Module> (&rows)[Count], std::int32_t command) {
    CReplyWriter reply = BeginReply(id);
    const auto* row = std::lower_bound(std::begin(rows), std::end(rows), command,
                                       [](const Command<Module>& r, std::int32_t number) { return r.number < number; });
    if (row == std::end(rows) || row->number != command || row->handler == nullptr) {
      return;
    }
    reply.Command(static_cast<std::uint16_t>(command + 1));
    (static_cast<Module*>(this)->*row->handler)(reply);
  }

  // What a module does with a command that it does not serve: it writes its id and leaves the rest.
  CReplyWriter BeginReply(wire::Module id) {
    CReplyWriter reply({m_pReply, wire::kBodyRoom}, m_pEngine->GetOutBufLen());
    reply.ModuleId(id);
    return reply;
  }

  // The request's data. Chosen: a length field that reaches beyond the frame counts up to the frame's end.
  std::span<const std::uint8_t> RequestData() const {
    const std::uint32_t frame = std::max(m_pEngine->GetPktBufLen(), wire::kDataAt);
    return {m_pFrame + wire::kDataAt, std::min(m_pEngine->GetPktDataLen(), frame - wire::kDataAt)};
  }

  CAgentEngine* m_pEngine;
  std::uint8_t* m_pReply;        // the engine's send buffer, where the reply body begins
  const std::uint8_t* m_pFrame;  // the engine's packet buffer; request data begins at wire::kDataAt
};
