// What Pocket Outlook keeps, as a part of a description.
#pragma once

#include "handset/store/Description.h"
#include "handset/store/JsonNode.h"

namespace handset {

// The lists of contacts and appointments below node. Those without an object id get one. Throws DescriptionError.
void ParseItems(const JsonNode& node, std::vector<Contact>& contacts, std::vector<Appointment>& appointments);

nlohmann::json PrintContact(const Contact& contact);
nlohmann::json PrintAppointment(const Appointment& appointment);

}  // namespace handset
