#include "desktop/agenda/Agenda.h"

#include "desktop/Wire.h"

namespace brelix {
namespace {

std::string_view AsText(const Bytes& bytes) { return {reinterpret_cast<const char*>(bytes.data()), bytes.size()}; }

}  // namespace

Agenda::Agenda(Session& session) : items_(session, wire::kAgenda) {}

Bytes Agenda::Document(uint32_t position) {
  Result read = items_.Ask(wire::kGetItem, position);
  if (read.code == wire::kRefusedResult) throw Failure(Exit::kRefused, "the phone refuses to read its calendar");
  if (read.code != 0) throw Failure(Exit::kPhoneError, PhoneErrorText(read.code));
  return std::move(read.data);
}

Appointment Agenda::Get(uint32_t position) { return ReadAppointment(AsText(Document(position))); }

uint64_t WalkAppointments(Agenda& agenda, const ItemWalk<Appointment>& walk) {
  Misses misses("appointment");
  const uint32_t count = agenda.Count();
  for (uint32_t position = 1; position <= count; position++) {
    walk.step(count);
    try {
      const Bytes document = agenda.Document(position);
      if (!walk.visit({position, ReadAppointment(AsText(document)), AsText(document)})) break;
      misses.Read();
    } catch (const Failure& failure) {
      misses.Miss(position, failure, walk.miss);
    }
  }
  return misses.count();
}

}  // namespace brelix
