#include "desktop/agenda/Agenda.h"

#include "desktop/Wire.h"

namespace brelix {
namespace {

Bytes DocumentIn(Result read) {
  if (read.code == wire::kRefusedResult) throw Failure(Exit::kRefused, "the phone refuses to read its calendar");
  if (read.code != 0) throw Failure(Exit::kPhoneError, PhoneErrorText(read.code));
  return std::move(read.data);
}

}  // namespace

Agenda::Agenda(Session& session) : items_(session, wire::kAgenda) {}

Appointment Agenda::Get(uint32_t position) {
  return ReadAppointment(DocumentText(DocumentIn(items_.Ask(wire::kGetItem, position))));
}

void Agenda::All(uint32_t count, const std::function<bool(uint32_t, const Document&)>& visit) {
  items_.AskAll(count, [&](uint32_t position, Result result) {
    return visit(position, [&] { return DocumentIn(std::move(result)); });
  });
}

uint64_t WalkAppointments(Agenda& agenda, const ItemWalk<Appointment>& walk) {
  Misses misses("appointment");
  const uint32_t count = agenda.Count();
  agenda.All(count, [&](uint32_t position, const Agenda::Document& get) {
    walk.step(count);
    try {
      const Bytes document = get();
      const bool more = walk.visit({position, ReadAppointment(DocumentText(document)), DocumentText(document)});
      misses.Read(DocumentText(document));
      return more;
    } catch (const Failure& failure) {
      misses.Miss(position, failure, walk.miss);
      return true;
    }
  });
  return misses.count();
}

}  // namespace brelix
