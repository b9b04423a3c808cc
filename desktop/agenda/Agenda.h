// The phone's calendar, read only: its agent has no command that changes an appointment.
#pragma once

#include "desktop/ItemCollection.h"
#include "desktop/ItemWalk.h"
#include "desktop/agenda/Appointment.h"

namespace brelix {

class Agenda {
 public:
  explicit Agenda(Session& session);

  uint32_t Count() { return items_.Count(); }
  // The appointment at a position from 1 to Count(). What the phone cannot read of its own is a phone error, and
  // a document that is no appointment breaks the protocol; the others can still be read.
  Appointment Get(uint32_t position);
  // The phone's documents at the positions 1 to the count, asked for ahead. `get` throws what Get throws; false from
  // `visit` ends the work.
  using Document = std::function<Bytes()>;
  void All(uint32_t count, const std::function<bool(uint32_t position, const Document& get)>& visit);

 private:
  ItemCollection items_;
};

// All appointments in the order of their positions. Returns how many could not be read. Throws when so many in a row
// cannot that nothing more will come.
uint64_t WalkAppointments(Agenda& agenda, const ItemWalk<Appointment>& walk);

}  // namespace brelix
