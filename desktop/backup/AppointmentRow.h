// Appointments of the wire as a phone's database keeps them.
#pragma once

#include <string_view>

#include "desktop/backup/RawDocument.h"
#include "handset/store/Appointment.h"

namespace brelix::backup {

// What an agent answers of this appointment is `document` again, but for the losses and for the bytes that stand where
// a value has no word: those are left over from earlier answers. Throws a protocol failure when there is no appointment
// in it, or no object id.
handset::Appointment AppointmentRow(std::string_view document, Losses& losses);

}  // namespace brelix::backup
