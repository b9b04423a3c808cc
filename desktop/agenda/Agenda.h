// The phone's calendar, read only: its agent has no command that changes an appointment.
#pragma once

#include "desktop/ItemCollection.h"
#include "desktop/agenda/Appointment.h"

namespace brelix {

// One appointment cannot be read; the link is as good as before.
class ItemFailure : public Failure {
  using Failure::Failure;
};

class Agenda {
 public:
  explicit Agenda(Session& session);

  uint32_t Count() { return items_.Count(); }
  // The appointment at a position from 1 to Count(). Throws an ItemFailure that names the position when the phone does
  // not tell it, or says something that is no appointment.
  Appointment Get(uint32_t position);

 private:
  ItemCollection items_;
};

}  // namespace brelix
