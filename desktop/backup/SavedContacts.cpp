#include "desktop/backup/SavedContacts.h"

#include <fmt/format.h>

#include "desktop/Failure.h"
#include "desktop/backup/ContactRow.h"
#include "handset/store/PimRows.h"

namespace brelix::backup {
namespace {

// What the database's code throws says neither which database it was nor what to do about it.
template <typename Read>
auto ReadFrom(const PhoneFolder& folder, Read read) {
  try {
    return read();
  } catch (const Failure&) {
    throw;
  } catch (const std::exception& error) {
    throw Failure(Exit::kLocalFile,
                  fmt::format("{}: its contacts cannot be read: {}", folder.path().string(), error.what()));
  }
}

}  // namespace

SavedContacts::SavedContacts(PhoneFolder folder)
    : folder_(std::move(folder)),
      statement_(ReadFrom(folder_, [&] { return handset::PrepareContact(folder_.database()); })),
      oids_(ReadFrom(folder_, [&] { return handset::SelectOids(folder_.database(), handset::kContactsFolder); })) {}

std::optional<SavedContact> SavedContacts::Load(uint32_t oid) {
  folder_.FailIfInterrupted();
  return ReadFrom(folder_, [&]() -> std::optional<SavedContact> {
    auto row = handset::SelectContact(statement_, oid);
    if (!row) return std::nullopt;
    row->picture = handset::SelectPicture(folder_.database(), oid);
    SavedContact saved;
    saved.contact = ContactOfRow(*row, saved.unreadable);
    return saved;
  });
}

}  // namespace brelix::backup
