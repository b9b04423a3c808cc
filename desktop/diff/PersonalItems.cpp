// Contacts and appointments, which a phone knows by object ids.
#include <fmt/format.h>

#include "desktop/Digest.h"
#include "desktop/agenda/Agenda.h"
#include "desktop/agenda/AppointmentJson.h"
#include "desktop/contacts/ContactWalk.h"
#include "desktop/diff/Telling.h"

namespace brelix::diff {
namespace {

Item ItemOf(const Contact& contact) {
  Item item{std::to_string(contact.oid), fmt::format("{} {}", contact.oid, DisplayName(contact)), {}};
  for (size_t i = 0; i < kContactFields; i++)
    if (!contact.fields[i].empty()) item.Add(std::string(ContactFieldNames()[i]), contact.fields[i]);
  if (!contact.picture.empty())
    item.Add("Picture", fmt::format("{} bytes, SHA-256 {}", contact.picture.size(), DigestOf(contact.picture)));
  return item;
}

// The members of an object as fields, those of objects in it with a dot; what is null is no field.
void AddMembers(Item& item, const std::string& before, const nlohmann::ordered_json& object) {
  for (const auto& [name, value] : object.items()) {
    if (value.is_object())
      AddMembers(item, before + name + ".", value);
    else if (value.is_string())
      item.Add(before + name, value.get<std::string>());
    else if (!value.is_null() && name != "oid")
      item.Add(before + name, value.dump());
  }
}

Item ItemOf(const Appointment& appointment) {
  Item item{
      std::to_string(appointment.oid), fmt::format("{} {}", appointment.oid, appointment.subject.value_or("")), {}};
  nlohmann::ordered_json object = ToJson(appointment);
  object["categories"] = appointment.categories ? nlohmann::ordered_json(*appointment.categories) : nullptr;
  AddMembers(item, "", object);
  return item;
}

}  // namespace

void ReadContacts(Session& session, const ReadOptions&, const ReadWatch& watch, const TakeItem& take) {
  ContactsClient contacts(session);
  ContactWalk walk;
  walk.visit = [&](const PlacedContact& placed) {
    take(ItemOf(placed.contact));
    return true;
  };
  walk.complain = watch.complain;
  walk.step = [&](uint32_t) { watch.step(); };
  WalkContacts(contacts, walk);
}

void ReadAgenda(Session& session, const ReadOptions&, const ReadWatch& watch, const TakeItem& take) {
  Agenda agenda(session);
  WalkAppointments(agenda,
                   Telling<Appointment>("appointment", watch, [&](const Appointment& item) { take(ItemOf(item)); }));
}

}  // namespace brelix::diff
