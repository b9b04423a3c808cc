#include "desktop/agenda/Agenda.h"

#include <fmt/format.h>

#include "desktop/Wire.h"

namespace brelix {

Agenda::Agenda(Session& session) : items_(session, wire::kAgenda) {}

Appointment Agenda::Get(uint32_t position) {
  const Result read = items_.Ask(wire::kGetItem, position);
  if (read.code == wire::kRefusedResult)
    throw ItemFailure(Exit::kRefused, fmt::format("appointment {}: the phone refuses to read it", position));
  if (read.code != 0)
    throw ItemFailure(Exit::kPhoneError, fmt::format("appointment {}: {}", position, PhoneErrorText(read.code)));
  try {
    return ReadAppointment({reinterpret_cast<const char*>(read.data.data()), read.data.size()});
  } catch (const Failure& failure) {
    throw ItemFailure(failure.code(), fmt::format("appointment {}: {}", position, failure.what()));
  }
}

}  // namespace brelix
