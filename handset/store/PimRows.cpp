#include "handset/store/PimRows.h"

#include <fmt/format.h>

#include "handset/store/RowValues.h"
#include "platform/PocketOutlook.h"

namespace handset {

namespace {

using SQLite::Column;
using SQLite::Database;
using SQLite::Statement;

static_assert(kCalendarFolder == ce::olFolderCalendar && kContactsFolder == ce::olFolderContacts);

// Self is one of these, const or not. The first column is the object id in each table.
template <typename Self, typename Visit>
requires std::same_as<std::remove_const_t<Self>, Contact>
void ForEachColumn(Self& contact, Visit visit) {
  visit("Birthday", contact.birthday);
  visit("Anniversary", contact.anniversary);
  for (std::size_t i = 0; i < kContactTexts.size(); ++i) visit(kContactTexts[i].name, contact.texts[i]);
  visit("get_props_answers", contact.getPropsAnswers);
  visit("empty_picture_opens", contact.emptyPictureOpens);
}

template <typename Self, typename Visit>
void ForEachColumn(Self& self, Visit visit) {
  Self::ForEachProperty(self, visit);
}

template <typename T>
requires std::integral<T>
void Load(const Column& column, T& value) { value = static_cast<T>(column.getInt64()); }
void Load(const Column& column, double& value) { value = column.getDouble(); }
void Load(const Column& column, std::u16string& value) { value = Text(column); }

template <typename T>
void Load(const Column& column, std::optional<T>& value) {
  if (column.isNull()) {
    value.reset();
  } else {
    Load(column, value.emplace());
  }
}

// key, "Birthday", ...
template <typename Object>
std::string ColumnNames(std::string_view key) {
  std::string names(key);
  Object object;
  ForEachColumn(object, [&](std::string_view name, auto&) { names += fmt::format(", \"{}\"", name); });
  return names;
}

// Which of the rows is meant follows: "", "WHERE ...".
template <typename Object>
Statement Select(const Database& database, const char* table, std::string_view key, std::string_view which) {
  return {database, fmt::format("SELECT {} FROM {} {}", ColumnNames<Object>(key), table, which)};
}

// A row as Select gives it, without its key.
template <typename Object>
Object LoadObject(Statement& row) {
  Object object;
  int at = 0;
  ForEachColumn(object, [&](std::string_view, auto& value) { Load(row.getColumn(++at), value); });
  return object;
}

// A statement that takes the object's key and columns as its parameters. In sql, {0} stands for the columns and {1} for
// as many parameters, the first of which is the key.
template <typename Object>
Statement PrepareWrite(const Database& database, const char* sql, std::string_view key) {
  std::string marks = "?1";
  Object object;
  ForEachColumn(object, [&](std::string_view, auto&) { marks += ", ?"; });
  return {database, fmt::format(fmt::runtime(sql), ColumnNames<Object>(key), marks)};
}

// How many rows were touched.
template <typename Object>
int Write(Statement& statement, std::uint32_t oid, const Object& object) {
  Bind(statement, 1, oid);
  int at = 1;
  ForEachColumn(object, [&](std::string_view, const auto& value) { Bind(statement, ++at, value); });
  const int touched = statement.exec();
  statement.reset();
  return touched;
}

constexpr const char* kInsertContact = "INSERT INTO contact ({}) VALUES ({})";
constexpr const char* kUpdateContact = "UPDATE contact SET ({}) = ({}) WHERE oid = ?1";

std::vector<std::u16string> SelectRecipients(const Database& database, std::uint32_t appointment) {
  Statement rows(database, "SELECT name FROM recipient WHERE appointment = ? ORDER BY id");
  Bind(rows, 1, appointment);
  std::vector<std::u16string> names;
  while (rows.executeStep()) names.push_back(Text(rows.getColumn(0)));
  return names;
}

std::optional<Recurrence> SelectRecurrence(const Database& database, std::uint32_t appointment) {
  Statement row = Select<Recurrence>(database, "recurrence", "appointment", "WHERE appointment = ?");
  Bind(row, 1, appointment);
  if (!row.executeStep()) return std::nullopt;
  return LoadObject<Recurrence>(row);
}

void InsertContacts(Database& database, const std::vector<Contact>& contacts) {
  Statement item(database, "INSERT INTO item VALUES (?, ?)");
  Statement row = PrepareWrite<Contact>(database, kInsertContact, "oid");
  for (const Contact& contact : contacts) {
    Execute(item, contact.oid, ce::olFolderContacts);
    Write(row, contact.oid, contact);
    if (!contact.picture.empty()) PutPicture(database, contact.oid, contact.picture);
  }
}

void InsertAppointments(Database& database, const std::vector<Appointment>& appointments) {
  Statement item(database, "INSERT INTO item VALUES (?, ?)");
  Statement row = PrepareWrite<Appointment>(database, "INSERT INTO appointment ({}) VALUES ({})", "oid");
  Statement pattern = PrepareWrite<Recurrence>(database, "INSERT INTO recurrence ({}) VALUES ({})", "appointment");
  Statement recipient(database, "INSERT INTO recipient (appointment, name) VALUES (?, ?)");
  for (const Appointment& appointment : appointments) {
    Execute(item, appointment.oid, ce::olFolderCalendar);
    Write(row, appointment.oid, appointment);
    if (appointment.recurrence) Write(pattern, appointment.oid, *appointment.recurrence);
    for (const std::u16string& name : appointment.recipients) Execute(recipient, appointment.oid, name);
  }
}

}  // namespace

void InsertItems(Database& database, const std::vector<Contact>& contacts,
                 const std::vector<Appointment>& appointments) {
  InsertContacts(database, contacts);
  InsertAppointments(database, appointments);
}

std::vector<Contact> SelectContacts(const Database& database) {
  std::vector<Contact> contacts;
  Statement rows = Select<Contact>(database, "contact", "oid", "ORDER BY oid");
  while (rows.executeStep()) {
    contacts.push_back(LoadObject<Contact>(rows));
    contacts.back().oid = Number<std::uint32_t>(rows.getColumn(0));
    contacts.back().picture = SelectPicture(database, contacts.back().oid);
  }
  return contacts;
}

std::vector<Appointment> SelectAppointments(const Database& database) {
  std::vector<Appointment> appointments;
  for (const std::uint32_t oid : SelectOids(database, ce::olFolderCalendar)) {
    if (auto found = SelectAppointment(database, oid)) appointments.push_back(std::move(*found));
  }
  return appointments;
}

std::vector<std::uint32_t> SelectOids(const Database& database, std::int32_t folder) {
  Statement rows(database, "SELECT oid FROM item WHERE folder = ? ORDER BY oid");
  Bind(rows, 1, folder);
  std::vector<std::uint32_t> oids;
  while (rows.executeStep()) oids.push_back(Number<std::uint32_t>(rows.getColumn(0)));
  return oids;
}

std::optional<std::int32_t> SelectFolder(const Database& database, std::uint32_t oid) {
  Statement row(database, "SELECT folder FROM item WHERE oid = ?");
  Bind(row, 1, oid);
  if (!row.executeStep()) return std::nullopt;
  return row.getColumn(0).getInt();
}

bool DeleteItem(Database& database, std::uint32_t oid) {
  Statement statement(database, "DELETE FROM item WHERE oid = ?");
  Bind(statement, 1, oid);
  return statement.exec() > 0;
}

Statement PrepareContact(const Database& database) {
  return Select<Contact>(database, "contact", "oid", "WHERE oid = ?");
}

std::optional<Contact> SelectContact(Statement& statement, std::uint32_t oid) {
  // A statement that is under way would keep what it reads from being cleared away.
  struct Reset {
    ~Reset() { statement.tryReset(); }
    Statement& statement;
  } const reset{statement};
  Bind(statement, 1, oid);
  if (!statement.executeStep()) return std::nullopt;
  auto contact = LoadObject<Contact>(statement);
  contact.oid = oid;
  return contact;
}

Bytes SelectPicture(const Database& database, std::uint32_t contact) {
  Statement row(database, "SELECT data FROM contact_picture WHERE contact = ?");
  Bind(row, 1, contact);
  return row.executeStep() ? Blob(row.getColumn(0)) : Bytes();
}

bool PutContact(Database& database, Contact& contact) {
  if (contact.oid != 0) {
    Statement update = PrepareWrite<Contact>(database, kUpdateContact, "oid");
    return Write(update, contact.oid, contact) > 0;
  }
  Insert(database, "INSERT INTO item (folder) VALUES (?)", ce::olFolderContacts);
  const std::int64_t oid = database.getLastInsertRowid();
  if (oid > std::numeric_limits<std::uint32_t>::max()) throw SQLite::Exception("all object ids are used up");
  contact.oid = static_cast<std::uint32_t>(oid);
  Statement insert = PrepareWrite<Contact>(database, kInsertContact, "oid");
  Write(insert, contact.oid, contact);
  return true;
}

void PutPicture(Database& database, std::uint32_t contact, const Bytes& picture) {
  Insert(database, "DELETE FROM contact_picture WHERE contact = ?", contact);
  if (!picture.empty()) Insert(database, "INSERT INTO contact_picture VALUES (?, ?)", contact, picture);
}

std::optional<Appointment> SelectAppointment(const Database& database, std::uint32_t oid) {
  Statement row = Select<Appointment>(database, "appointment", "oid", "WHERE oid = ?");
  Bind(row, 1, oid);
  if (!row.executeStep()) return std::nullopt;
  auto appointment = LoadObject<Appointment>(row);
  appointment.oid = oid;
  appointment.recipients = SelectRecipients(database, oid);
  appointment.recurrence = SelectRecurrence(database, oid);
  return appointment;
}

}  // namespace handset
