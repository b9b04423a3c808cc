#include "desktop/contacts/Contact.h"

#include <algorithm>
#include <chrono>
#include <fmt/format.h>

namespace brelix {
namespace {

constexpr std::array<std::string_view, kContactFields> kNames = {
#define CONTACT_FIELD(name) #name,
#include "desktop/contacts/ContactFields.def"
#undef CONTACT_FIELD
};

constexpr int kFirstYear = 100;  // where the phone's calendar begins

// How the phone says that there is no date.
constexpr std::chrono::year_month_day kNoDay = std::chrono::January / 1 / 4501;

// What is left of a text that is read from the front.
class Digits {
 public:
  explicit Digits(std::string_view text) : rest_(text) {}

  // Exactly so many digits; -1 when they are not there.
  int Take(size_t count) {
    if (rest_.size() < count) return -1;
    int value = 0;
    for (size_t i = 0; i < count; i++) {
      if (rest_[i] < '0' || rest_[i] > '9') return -1;
      value = value * 10 + (rest_[i] - '0');
    }
    rest_.remove_prefix(count);
    return value;
  }
  bool Skip(char c) {
    if (!rest_.starts_with(c)) return false;
    rest_.remove_prefix(1);
    return true;
  }
  bool Done() const { return rest_.empty(); }

 private:
  std::string_view rest_;
};

}  // namespace

std::span<const std::string_view> ContactFieldNames() { return kNames; }

std::string_view NameOf(ContactField field) { return kNames[static_cast<size_t>(field)]; }

std::optional<ContactField> ContactFieldNamed(std::string_view name) {
  const auto found = std::find(kNames.begin(), kNames.end(), name);
  if (found == kNames.end()) return std::nullopt;
  return static_cast<ContactField>(found - kNames.begin());
}

std::string PersonName(const Contact& contact) {
  using enum ContactField;
  std::string name;
  for (const ContactField part : {kTitle, kFirstName, kMiddleName, kLastName, kSuffix}) {
    if (contact[part].empty()) continue;
    if (!name.empty()) name += ' ';
    name += contact[part];
  }
  if (!name.empty()) return name;
  for (const ContactField other : {kCompanyName, kNickName, kEmail1Address, kMobileTelephoneNumber,
                                   kBusinessTelephoneNumber, kHomeTelephoneNumber})
    if (!contact[other].empty()) return contact[other];
  return {};
}

std::string DisplayName(const Contact& contact) {
  const std::string& file_as = contact[ContactField::kFileAs];
  return file_as.empty() ? PersonName(contact) : file_as;
}

std::optional<std::string> NormalDate(std::string_view text) {
  using namespace std::chrono;
  Digits rest(text);
  const int y = rest.Take(4);
  const bool dashes = rest.Skip('-');
  const int m = rest.Take(2);
  if (dashes != rest.Skip('-')) return std::nullopt;
  const int d = rest.Take(2);
  if (y < kFirstYear || m < 0 || d < 0) return std::nullopt;
  const year_month_day day = year(y) / m / d;
  if (!day.ok() || day == kNoDay) return std::nullopt;

  std::string out = fmt::format("{:04}-{:02}-{:02}", y, m, d);
  if (rest.Done()) return out;
  if (!rest.Skip('T') && !rest.Skip(' ')) return std::nullopt;
  const int hour = rest.Take(2);
  const bool colons = rest.Skip(':');
  const int minute = rest.Take(2);
  int second = 0;
  if (!rest.Done()) {
    if (colons != rest.Skip(':')) return std::nullopt;
    second = rest.Take(2);
  }
  if (!rest.Done() || hour < 0 || hour > 23 || minute < 0 || minute > 59 || second < 0 || second > 59)
    return std::nullopt;
  if (hour + minute + second > 0) out += fmt::format("T{:02}:{:02}:{:02}", hour, minute, second);
  return out;
}

std::vector<FieldChange> Changes(const Contact& before, const Contact& after) {
  std::vector<FieldChange> changes;
  for (size_t i = 0; i < kContactFields; i++)
    if (before.fields[i] != after.fields[i])
      changes.push_back({static_cast<ContactField>(i), before.fields[i], after.fields[i]});
  return changes;
}

}  // namespace brelix
