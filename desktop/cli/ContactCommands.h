// The phone's contacts: contacts list, get, export, put, set, rm, photo.
#pragma once

#include "desktop/cli/Commands.h"
#include "desktop/cli/Progress.h"
#include "desktop/contacts/ContactWalk.h"

namespace brelix::cli {

void DeclareContacts(CLI::App& app, Action& chosen);

// The commands that change the phone.
void DeclareContactWriting(CLI::App& contacts, Action& chosen);

// A walk that complains on standard error and moves the progress; visit is still to be set.
ContactWalk WalkWith(Progress& progress);

// What to say of an object id that no contact has.
std::string NoContact(uint32_t oid);

// The contact with this object id; a phone error when there is none.
PlacedContact NeedContact(ContactsClient& contacts, uint32_t oid);

}  // namespace brelix::cli
