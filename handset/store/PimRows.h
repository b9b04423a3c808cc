// The tables of Pocket Outlook. All functions throw SQLite::Exception.
#pragma once

#include <SQLiteCpp/SQLiteCpp.h>
#include <vector>

#include "handset/store/Appointment.h"
#include "handset/store/Contact.h"

namespace handset {

// The folders of the column item.folder, by the platform's numbers.
inline constexpr std::int32_t kCalendarFolder = 9;
inline constexpr std::int32_t kContactsFolder = 10;

void InsertItems(SQLite::Database& database, const std::vector<Contact>& contacts,
                 const std::vector<Appointment>& appointments);
// Whole, by object id.
std::vector<Contact> SelectContacts(const SQLite::Database& database);
std::vector<Appointment> SelectAppointments(const SQLite::Database& database);

// The object ids of a folder, rising.
std::vector<std::uint32_t> SelectOids(const SQLite::Database& database, std::int32_t folder);
std::optional<std::int32_t> SelectFolder(const SQLite::Database& database, std::uint32_t oid);
// False when there is none.
bool DeleteItem(SQLite::Database& database, std::uint32_t oid);

// A statement for SelectContact, which can be used again and again; compiling it costs more than running it.
SQLite::Statement PrepareContact(const SQLite::Database& database);
// Without its picture.
std::optional<Contact> SelectContact(SQLite::Statement& statement, std::uint32_t oid);
Bytes SelectPicture(const SQLite::Database& database, std::uint32_t contact);
// Stores a contact without its picture, and gives it an object id if it has none. False when it is not there any more.
bool PutContact(SQLite::Database& database, Contact& contact);
void PutPicture(SQLite::Database& database, std::uint32_t contact, const Bytes& picture);

std::optional<Appointment> SelectAppointment(const SQLite::Database& database, std::uint32_t oid);

}  // namespace handset
