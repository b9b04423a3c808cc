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
  // The same as the phone's document.
  Bytes Document(uint32_t position);

 private:
  ItemCollection items_;
};

// All appointments in the order of their positions. Returns how many could not be read. Throws when so many in a row
// cannot that nothing more will come.
uint64_t WalkAppointments(Agenda& agenda, const ItemWalk<Appointment>& walk);

}  // namespace brelix
