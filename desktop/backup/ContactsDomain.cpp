// The phone's contacts, and its appointments: what Pocket Outlook keeps by object id.
#include <array>
#include <fmt/format.h>

#include "desktop/agenda/Agenda.h"
#include "desktop/backup/AppointmentRow.h"
#include "desktop/backup/ContactRow.h"
#include "desktop/backup/Domains.h"
#include "desktop/backup/ItemDomains.h"
#include "desktop/contacts/ContactWalk.h"
#include "handset/store/PimDescription.h"
#include "handset/store/PimRows.h"

namespace brelix::backup {
namespace {

constexpr std::array<std::string_view, 4> kContactsNotCarried = {
    "fields of a contact beyond the 55 of its document: ring tones, phonetic names, when it was changed",
    "contacts outside the phone's own contacts folder, such as those of a SIM card",
    "texts that begin with a character whose number is a multiple of 256, and what follows a NUL in a text",
    "the order in which the phone lists contacts, where that is not by object id",
};
constexpr std::array<std::string_view, 4> kAgendaNotCarried = {
    "exceptions of a recurring appointment: occurrences that were moved, changed or deleted",
    "attendees, reminder options, lengths that are not end minus start, a pattern's own times of day, tasks",
    "values of busy status, sensitivity, meeting status and recurrence for which the wire has no word",
    "texts that begin with a character whose number is a multiple of 256, and what follows a NUL in a text",
};

// Puts items in, one by one.
class ItemWriter {
 public:
  ItemWriter(const Taking& taking, std::string_view item)
      : database_(taking.folder.database()), losses_(taking), batch_(database_), item_(item) {}

  const LossTeller& losses() const { return losses_; }
  std::string NameOf(uint64_t position) const { return fmt::format("{} at position {}", item_, position); }

  template <typename Row>
  void Put(uint64_t position, std::string_view document, Row (*convert)(std::string_view, Losses&)) {
    losses_.Try(NameOf(position), [&] {
      Losses losses;
      Row row = convert(document, losses);
      const std::string name = fmt::format("{} {}", item_, row.oid);
      if (handset::SelectFolder(database_, row.oid))
        return losses_.Tell(NameOf(position), fmt::format("its object id {} is that of another item", row.oid));
      Insert(std::move(row));
      batch_.Done(document.size());
      losses_.Tell(name, losses);
    });
  }
  void Finish() { batch_.Finish(); }

 private:
  void Insert(handset::Contact row) { handset::InsertItems(database_, {std::move(row)}, {}); }
  void Insert(handset::Appointment row) { handset::InsertItems(database_, {}, {std::move(row)}); }

  SQLite::Database& database_;
  LossTeller losses_;
  Batch batch_;
  const std::string_view item_;
};

// While positions are read, an item that is deleted makes others move.
void CompareCounts(const LossTeller& losses, std::string_view items, uint32_t before, uint32_t behind) {
  if (before != behind)
    losses.Tell(std::string(items), fmt::format("their number changed from {} to {} while they were read; some may be "
                                                "missing",
                                                before, behind));
}

void TakeContacts(const Taking& taking) {
  ContactsClient contacts(taking.session);
  const uint32_t count = contacts.Count();
  taking.watch.Expect(count);
  ItemWriter writer(taking, kContactsDomain.item);
  ContactWalk walk;
  walk.visit = [&](const PlacedContact& placed) {
    writer.Put(placed.position, placed.document, ContactRow);
    taking.watch.Advance(1);
    return true;
  };
  walk.miss = [&](uint32_t position, const std::string& why) {
    writer.losses().Tell(writer.NameOf(position), why);
    taking.watch.Advance(1);
  };
  WalkContacts(contacts, walk);
  writer.Finish();
  CompareCounts(writer.losses(), kContactsDomain.name, count, contacts.Count());
}

void TakeAgenda(const Taking& taking) {
  Agenda agenda(taking.session);
  const uint32_t count = agenda.Count();
  taking.watch.Expect(count);
  ItemWriter writer(taking, kAgendaDomain.item);
  ItemWalk<Appointment> walk;
  walk.visit = [&](const Walked<Appointment>& walked) {
    writer.Put(walked.number, walked.document, AppointmentRow);
    taking.watch.Advance(1);
    return true;
  };
  walk.miss = [&](uint64_t position, const Failure& why) {
    writer.losses().Tell(writer.NameOf(position), why.what());
    taking.watch.Advance(1);
  };
  WalkAppointments(agenda, walk);
  writer.Finish();
  CompareCounts(writer.losses(), kAgendaDomain.name, count, agenda.Count());
}

void ForEachContact(const PhoneFolder& folder, const RecordSink& sink) {
  SQLite::Statement statement = handset::PrepareContact(folder.database());
  for (const uint32_t oid : handset::SelectOids(folder.database(), handset::kContactsFolder)) {
    auto contact = handset::SelectContact(statement, oid);
    if (!contact) continue;
    contact->picture = handset::SelectPicture(folder.database(), oid);
    sink({OidKey(oid), handset::PrintContact(*contact)});
  }
}

void ForEachAppointment(const PhoneFolder& folder, const RecordSink& sink) {
  for (const uint32_t oid : handset::SelectOids(folder.database(), handset::kCalendarFolder))
    if (const auto item = handset::SelectAppointment(folder.database(), oid))
      sink({OidKey(oid), handset::PrintAppointment(*item)});
}

}  // namespace

const Domain kContactsDomain = {.name = "contacts",
                                .item = "contact",
                                .not_carried = kContactsNotCarried,
                                .clear = "DELETE FROM item WHERE folder = 10",
                                .take = TakeContacts,
                                .for_each = ForEachContact};

const Domain kAgendaDomain = {.name = "agenda",
                              .item = "appointment",
                              .not_carried = kAgendaNotCarried,
                              .clear = "DELETE FROM item WHERE folder = 9",
                              .take = TakeAgenda,
                              .for_each = ForEachAppointment};

static_assert(handset::kContactsFolder == 10 && handset::kCalendarFolder == 9);

}  // namespace brelix::backup
