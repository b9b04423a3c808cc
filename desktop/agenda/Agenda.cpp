#include "desktop/agenda/Agenda.h"

#include "desktop/Wire.h"

namespace brelix {

Agenda::Agenda(Session& session) : items_(session, wire::kAgenda) {}

Appointment Agenda::Get(uint32_t position) {
  const Result read = items_.Ask(wire::kGetItem, position);
  if (read.code == wire::kRefusedResult) throw Failure(Exit::kRefused, "the phone refuses to read its calendar");
  if (read.code != 0) throw Failure(Exit::kPhoneError, PhoneErrorText(read.code));
  return ReadAppointment({reinterpret_cast<const char*>(read.data.data()), read.data.size()});
}

}  // namespace brelix
