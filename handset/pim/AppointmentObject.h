// An appointment of Pocket Outlook, to be read only.
#pragma once

#include "handset/store/Appointment.h"
#include "platform/Appointment.h"

namespace handset {

struct Phone;

// A new one with one reference.
ce::IAppointment* NewAppointmentObject(Phone& phone, Appointment appointment);

}  // namespace handset
