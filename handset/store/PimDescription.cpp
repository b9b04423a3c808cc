#include "handset/store/PimDescription.h"

#include <cmath>
#include <set>

#include "handset/Base64.h"
#include "handset/store/JsonFields.h"
#include "handset/store/TimeText.h"

namespace handset {

namespace {

using nlohmann::json;

constexpr double kDayMinutes = 24 * 60;

void Read(const JsonNode& node, bool& value) { value = node.Bool(); }

void Read(const JsonNode& node, std::int32_t& value) {
  using Limits = std::numeric_limits<std::int32_t>;
  value = static_cast<std::int32_t>(node.Integer(Limits::min(), Limits::max()));
}

void Read(const JsonNode& node, double& date) {
  if (node.GetJson().is_number()) {
    date = node.GetJson().get<double>();
    return;
  }
  const auto parsed = node.GetJson().is_string() ? ParseDate(node.String()) : std::nullopt;
  if (!parsed) node.Misfit("a date such as \"1975-04-09\" or \"1975-04-09T13:45:00\", or days since 1899-12-30");
  date = *parsed;
}

void Read(const JsonNode& node, std::u16string& text) { text = node.Text(); }

template <typename T>
void Read(const JsonNode& node, std::optional<T>& value) {
  if (node.GetJson().is_null()) {
    value.reset();
  } else {
    Read(node, value.emplace());
  }
}

template <typename T>
void ReadMember(const JsonNode& node, const char* name, T& value) {
  if (const auto found = node.Find(name)) Read(*found, value);
}

json Print(bool value) { return value; }
json Print(std::int32_t value) { return value; }
json Print(double date) {
  const auto text = PrintDate(date);
  return text ? json(*text) : json(date);
}
json Print(const std::u16string& text) { return TextToJson(text); }

template <typename T>
json Print(const std::optional<T>& value) {
  return value ? Print(*value) : json(nullptr);
}

template <typename Object>
std::vector<std::string_view> MemberNames(std::initializer_list<std::string_view> others) {
  std::vector<std::string_view> names(others);
  Object object;
  Object::ForEachProperty(object, [&](const char* name, auto&) { names.emplace_back(name); });
  return names;
}

const std::vector<std::string_view>& ContactMembers() {
  static const auto members = [] {
    std::vector<std::string_view> names = {"oid", "Birthday", "Anniversary"};
    for (const ContactTextInfo& text : kContactTexts) names.push_back(text.name);
    names.insert(names.end(), {"Picture", "getPropsAnswers", "emptyPictureOpens"});
    return names;
  }();
  return members;
}

Contact ParseContact(const JsonNode& node) {
  node.NeedObject(ContactMembers());
  Contact contact;
  ReadMember(node, "Birthday", contact.birthday);
  ReadMember(node, "Anniversary", contact.anniversary);
  for (std::size_t i = 0; i < kContactTexts.size(); ++i) {
    const auto found = node.Find(kContactTexts[i].name);
    if (!found) continue;
    if (i == static_cast<std::size_t>(ContactText::Body)) {
      Read(*found, contact.texts[i]);
    } else {
      contact.texts[i] = found->Text();
    }
  }
  if (const auto picture = node.Find("Picture")) {
    auto bytes = FromBase64(picture->String());
    if (!bytes) picture->Misfit("a picture as base64 with padding and without line breaks");
    contact.picture = std::move(*bytes);
  }
  if (const auto answer = node.Find("getPropsAnswers")) contact.getPropsAnswers = answer->Code();
  ReadBool(node, "emptyPictureOpens", contact.emptyPictureOpens);
  return contact;
}

void FillRecurrence(const JsonNode& node, Appointment& appointment) {
  static const auto members = MemberNames<Recurrence>({});
  node.NeedObject(members);
  node.Need("RecurrenceType");
  Recurrence& recurrence = appointment.recurrence.emplace();
  recurrence.patternStartDate = std::trunc(appointment.start);
  recurrence.startTime = std::abs(appointment.start - std::trunc(appointment.start));
  recurrence.endTime = std::abs(appointment.end - std::trunc(appointment.end));
  recurrence.duration = appointment.duration;
  Recurrence::ForEachProperty(recurrence, [&](const char* name, auto& property) { ReadMember(node, name, property); });
  if (!node.Find("NoEndDate")) recurrence.noEndDate = !recurrence.patternEndDate && !recurrence.occurrences;
}

Appointment ParseAppointment(const JsonNode& node) {
  static const auto members = MemberNames<Appointment>({"oid", "Recipients", "Recurrence"});
  node.NeedObject(members);
  node.Need("Start");
  Appointment appointment;
  Appointment::ForEachProperty(appointment,
                               [&](const char* name, auto& property) { ReadMember(node, name, property); });
  const bool hasEnd = node.Find("End").has_value();
  if (!hasEnd) appointment.end = appointment.start + appointment.duration / kDayMinutes;
  if (hasEnd && !node.Find("Duration")) {
    const double minutes = std::round((appointment.end - appointment.start) * kDayMinutes);
    const bool fits = std::abs(minutes) < std::numeric_limits<std::int32_t>::max();
    if (!fits) node.Need("End").Misfit("an end that is close to the start, or a \"Duration\" too");
    appointment.duration = static_cast<std::int32_t>(minutes);
  }
  ReadList(node, "Recipients", appointment.recipients, [](const JsonNode& name) { return name.Text(); });
  if (const auto recurrence = node.Find("Recurrence")) FillRecurrence(*recurrence, appointment);
  return appointment;
}

// Object ids are unique among all items.
class ObjectIds {
 public:
  std::uint32_t Read(const JsonNode& item) {
    const auto node = item.Find("oid");
    if (!node) return 0;
    const auto oid = static_cast<std::uint32_t>(node->Integer(1, std::numeric_limits<std::uint32_t>::max()));
    if (!m_taken.insert(oid).second) node->Misfit("an object id that no other item has");
    return oid;
  }

  template <typename Item>
  void Complete(std::vector<Item>& items) {
    for (Item& item : items) {
      if (item.oid != 0) continue;
      while (m_taken.contains(++m_last)) {
      }
      item.oid = m_last;
    }
  }

 private:
  std::set<std::uint32_t> m_taken;
  std::uint32_t m_last = 0;
};

}  // namespace

void ParseItems(const JsonNode& node, std::vector<Contact>& contacts, std::vector<Appointment>& appointments) {
  ObjectIds ids;
  ReadList(node, "contacts", contacts, [&](const JsonNode& item) {
    Contact contact = ParseContact(item);
    contact.oid = ids.Read(item);
    return contact;
  });
  ReadList(node, "appointments", appointments, [&](const JsonNode& item) {
    Appointment appointment = ParseAppointment(item);
    appointment.oid = ids.Read(item);
    return appointment;
  });
  ids.Complete(contacts);
  ids.Complete(appointments);
}

json PrintContact(const Contact& contact) {
  json out = {{"oid", contact.oid}};
  if (contact.birthday) out["Birthday"] = Print(*contact.birthday);
  if (contact.anniversary) out["Anniversary"] = Print(*contact.anniversary);
  for (std::size_t i = 0; i < kContactTexts.size(); ++i) {
    const auto& text = contact.texts[i];
    const bool isBody = i == static_cast<std::size_t>(ContactText::Body);
    const bool isUsual = isBody ? text.has_value() && text->empty() : !text;
    if (!isUsual) out[std::string(kContactTexts[i].name)] = Print(text);
  }
  if (!contact.picture.empty()) out["Picture"] = ToBase64(contact.picture);
  if (contact.getPropsAnswers != 0) out["getPropsAnswers"] = contact.getPropsAnswers;
  if (contact.emptyPictureOpens) out["emptyPictureOpens"] = true;
  return out;
}

json PrintAppointment(const Appointment& appointment) {
  json out = {{"oid", appointment.oid}};
  const auto add = [](json& to) {
    return [&to](const char* name, const auto& property) { to[name] = Print(property); };
  };
  Appointment::ForEachProperty(appointment, add(out));
  if (!appointment.recipients.empty()) {
    out["Recipients"] = PrintList(appointment.recipients, [](const std::u16string& name) { return Print(name); });
  }
  if (appointment.recurrence) Recurrence::ForEachProperty(*appointment.recurrence, add(out["Recurrence"]));
  return out;
}

}  // namespace handset
