#include "desktop/contacts/ContactWalk.h"

#include <fmt/format.h>

#include "desktop/Text.h"

namespace brelix {
namespace {

constexpr size_t kGiveUpAfter = 50;  // in a row

}  // namespace

size_t WalkContacts(ContactsClient& contacts, const ContactWalk& walk) {
  size_t failed = 0, in_a_row = 0;
  const uint32_t count = contacts.Count();
  contacts.All(count, [&](uint32_t position, const ContactsClient::Document& get) {
    walk.step(count);
    try {
      const Bytes document = get();
      const bool more = walk.visit({position,
                                    contacts.Read(position, document),
                                    {reinterpret_cast<const char*>(document.data()), document.size()}});
      in_a_row = 0;
      return more;
    } catch (const ContactFailure& failure) {
      failed++;
      if (++in_a_row == kGiveUpAfter)
        throw Failure(failure.code(),
                      fmt::format("{}; so did the {} before it, giving up", failure.what(), in_a_row - 1));
      walk.miss ? walk.miss(position, failure.reason()) : walk.complain(failure.what());
      return true;
    }
  });
  return failed;
}

std::map<uint32_t, PlacedContact> FindContacts(ContactsClient& contacts, std::set<uint32_t> oids,
                                               const ContactWalk& walk) {
  std::map<uint32_t, PlacedContact> found;
  ContactWalk searching = walk;
  searching.visit = [&](PlacedContact placed) {
    const uint32_t oid = placed.contact.oid;
    placed.document = {};
    if (oids.erase(oid) > 0) found.emplace(oid, std::move(placed));
    return !oids.empty();
  };
  WalkContacts(contacts, searching);
  return found;
}

std::string WrittenOtherwise(const Contact& written, const Contact& read) {
  std::string text;
  const auto add = [&](const std::string& what) { text += (text.empty() ? "" : "; ") + what; };
  for (const FieldChange& change : Changes(written, read)) {
    if (change.field == ContactField::kFileAs && change.before.empty()) continue;
    add(fmt::format("{} is \"{}\" instead of \"{}\"", NameOf(change.field), CleanUtf8(change.after),
                    CleanUtf8(change.before)));
  }
  if (written.picture != read.picture)
    add(fmt::format("the picture has {} bytes{} instead of {}", read.picture.size(),
                    written.picture.size() == read.picture.size() ? ", others" : "", written.picture.size()));
  return text;
}

}  // namespace brelix
