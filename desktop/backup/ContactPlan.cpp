#include "desktop/backup/ContactPlan.h"

#include <functional>
#include <map>

#include "desktop/Digest.h"

namespace brelix::backup {
namespace {

ByteView AsBytes(std::string_view text) { return {reinterpret_cast<const uint8_t*>(text.data()), text.size()}; }

std::string DigestOfText(std::string_view text) { return DigestOf(AsBytes(text)); }

// The places of those that are not matched yet, by what tells them apart.
using Places = std::multimap<std::string, size_t>;

Places Left(std::span<const ContactMark> marks, const std::vector<bool>& taken,
            const std::function<std::string(const ContactMark&)>& key) {
  Places places;
  for (size_t i = 0; i < marks.size(); i++)
    if (const std::string text = key(marks[i]); !taken[i] && !text.empty()) places.emplace(text, i);
  return places;
}

class Matching {
 public:
  Matching(std::span<const ContactMark> backup, std::span<const ContactMark> phone)
      : backup_(backup), phone_(phone), planned_(backup.size()), done_(backup.size()), taken_(phone.size()) {}

  using Key = std::function<std::string(const ContactMark&)>;

  // Matches each with the first that is left of its key; or only those whose key is one of a kind on both sides. What
  // has an empty key is not matched.
  void By(bool whole, const Key& key, Deed deed, bool only_single) { By(whole, key, key, deed, only_single); }

  void By(bool whole, const Key& backup_key, const Key& phone_key, Deed deed, bool only_single) {
    const Places ours = Left(backup_, done_, backup_key);
    Places theirs = Left(phone_, taken_, phone_key);
    for (const auto& [text, mine] : ours) {
      if (backup_[mine].whole != whole || (only_single && (ours.count(text) > 1 || theirs.count(text) > 1))) continue;
      const auto found = theirs.lower_bound(text);
      if (found == theirs.end() || found->first != text) continue;
      planned_[mine] = {deed, phone_[found->second]};
      done_[mine] = taken_[found->second] = true;
      theirs.erase(found);
    }
  }

  std::vector<PlannedContact> Take(Deed of_the_others) {
    for (size_t i = 0; i < planned_.size(); i++)
      if (!done_[i]) planned_[i].deed = of_the_others;
    return std::move(planned_);
  }

 private:
  std::span<const ContactMark> backup_, phone_;
  std::vector<PlannedContact> planned_;
  std::vector<bool> done_, taken_;
};

}  // namespace

ContactMark MarkOf(const Contact& contact, uint32_t position) {
  Digest fields, content;
  for (const std::string& field : contact.fields) {
    fields.Add(AsBytes(field));
    fields.Add(AsBytes(std::string_view("\0", 1)));
  }
  ContactMark mark;
  mark.oid = contact.oid;
  mark.position = position;
  mark.fields = fields.Text();
  content.Add(AsBytes(mark.fields));
  content.Add(contact.picture);
  mark.content = content.Text();
  mark.picture = !contact.picture.empty();
  if (const std::string name = PersonName(contact); !name.empty()) mark.name = DigestOfText(name);
  return mark;
}

std::vector<PlannedContact> PlanContacts(std::span<const ContactMark> backup, std::span<const ContactMark> phone,
                                         bool all_read) {
  Matching matching(backup, phone);
  const auto content = [](const ContactMark& mark) { return mark.content; };
  const auto same_id = [](const ContactMark& mark) {
    return mark.name.empty() ? std::string() : std::to_string(mark.oid) + " " + mark.name;
  };
  const auto name = [](const ContactMark& mark) { return mark.name; };
  const auto same_place = [](const ContactMark& mark) { return std::to_string(mark.oid) + " " + mark.content; };
  for (const bool whole : {true, false}) {
    // Those that stayed where they are first: they keep others alike from taking their place.
    matching.By(whole, same_place, Deed::kNothing, false);
    matching.By(whole, content, Deed::kNothing, false);
  }
  const auto with_picture = [](const ContactMark& mark) { return mark.picture ? mark.fields : std::string(); };
  const auto without_picture = [](const ContactMark& mark) { return mark.picture ? std::string() : mark.fields; };
  for (const bool whole : {true, false}) {
    matching.By(whole, same_id, Deed::kChange, false);
    if (!all_read) continue;
    matching.By(whole, with_picture, without_picture, Deed::kChange, false);
    matching.By(whole, name, Deed::kChange, true);
  }
  return matching.Take(all_read ? Deed::kMake : Deed::kLeave);
}

}  // namespace brelix::backup
