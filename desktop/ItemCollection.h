// A phone's open collection of contacts or appointments: what modules 3 and 4 have in common.
//
// The collection belongs to the agent, not to the session, and shows the items as they were when it was opened. One
// that an earlier desktop left open is therefore closed and opened anew.
#pragma once

#include <cstdint>
#include <functional>

#include "desktop/Session.h"

namespace brelix {

class ItemCollection {
 public:
  // The module is wire::kContacts or wire::kAgenda.
  ItemCollection(Session& session, uint16_t module);
  // Closes it, whatever happened; never throws.
  ~ItemCollection();
  ItemCollection(const ItemCollection&) = delete;
  ItemCollection& operator=(const ItemCollection&) = delete;

  uint32_t Count();
  // The answer to a command about the item at a position, 1 to Count(), or with an object id.
  Result Ask(uint16_t command, uint32_t number);
  // The same with more data behind the number.
  Result Ask(uint16_t command, uint32_t number, ByteView more);
  // Asks for the item at each position from 1 to the count, ahead of the answers. `take` is told of the answers in that
  // order; false from it ends the work.
  void AskAll(uint32_t count, const std::function<bool(uint32_t position, Result)>& take);

 private:
  void Close();

  Session& session_;
  uint16_t module_;
};

}  // namespace brelix
