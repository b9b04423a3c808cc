#include "desktop/cli/ContactCommands.h"

#include <fmt/format.h>
#include <memory>

#include "desktop/NewFile.h"
#include "desktop/Text.h"
#include "desktop/contacts/ContactJson.h"
#include "desktop/vcard/VCardWriter.h"

namespace brelix::cli {
namespace {

using enum ContactField;

std::string FirstOf(const Contact& contact, std::initializer_list<ContactField> fields) {
  for (const ContactField field : fields)
    if (!contact[field].empty()) return CleanUtf8(contact[field]);
  return {};
}

// Goes through all contacts with a progress bar. Returns the command's exit code.
Exit ForAll(ContactsClient& contacts, const std::string& label, const std::function<void(const Contact&)>& use) {
  Progress progress(label, std::nullopt);
  ContactWalk walk = WalkWith(progress);
  walk.visit = [&](const PlacedContact& placed) {
    use(placed.contact);
    return true;
  };
  return WalkContacts(contacts, walk) == 0 ? Exit::kOk : Exit::kPartial;
}

Exit ListContacts(Context& context) {
  context.phone.Start();
  ContactsClient contacts(context.session);
  List list(context.options.json,
            {{"Id", true}, {"Name"}, {"Company", false, true}, {"Telephone"}, {"E-mail", false, true}});
  const Exit outcome = ForAll(contacts, "reading contacts", [&](const Contact& contact) {
    const std::string telephone =
        FirstOf(contact, {kMobileTelephoneNumber, kBusinessTelephoneNumber, kHomeTelephoneNumber,
                          kBusiness2TelephoneNumber, kHome2TelephoneNumber, kCarTelephoneNumber});
    list.Add(ToJson(contact),
             {std::to_string(contact.oid), CleanUtf8(DisplayName(contact)), FirstOf(contact, {kCompanyName}), telephone,
              FirstOf(contact, {kEmail1Address, kEmail2Address, kEmail3Address})});
  });
  list.Finish();
  return outcome;
}

Exit GetContact(Context& context, uint32_t oid) {
  context.phone.Start();
  ContactsClient contacts(context.session);
  const Contact contact = NeedContact(contacts, oid).contact;
  if (context.options.json) {
    const auto object = ToJsonWithPicture(contact);
    for (const auto& [key, value] : object.items()) context.report.Add(key, "", key, value);
    return Exit::kOk;
  }
  context.report.Add("oid", std::to_string(contact.oid), "oid", contact.oid);
  for (size_t i = 0; i < kContactFields; i++) {
    const auto field = static_cast<ContactField>(i);
    if (!contact[field].empty()) context.report.Add(NameOf(field), CleanUtf8(contact[field]), NameOf(field), Json());
  }
  if (!contact.picture.empty())
    context.report.Add("Picture", fmt::format("{} bytes", contact.picture.size()), "Picture", Json());
  return Exit::kOk;
}

Exit ExportContacts(Context& context, const std::string& path, VCardVersion version) {
  NewFile file(path);
  context.phone.Start();
  ContactsClient contacts(context.session);
  size_t exported = 0;
  const Exit outcome = ForAll(contacts, "exporting contacts", [&](const Contact& contact) {
    file.Write(WriteVCard(contact, version));
    exported++;
  });
  file.Commit();
  if (path != "-") context.report.Add("Contacts exported", std::to_string(exported), "exported", exported);
  return outcome;
}

void DeclareExport(CLI::App& contacts, Action& chosen) {
  CLI::App* app = contacts.add_subcommand("export", "Write all contacts into a file, pictures included");
  auto path = std::make_shared<std::string>();
  auto version = std::make_shared<std::string>("3.0");
  app->add_option("--vcard", *path, "The vCard file to write; - for standard output")->required();
  app->add_option("--vcard-version", *version, "3.0 or 4.0")
      ->check(CLI::IsMember({"3.0", "4.0"}))
      ->capture_default_str();
  app->callback([=, &chosen] {
    const VCardVersion chosen_version = *version == "4.0" ? VCardVersion::k40 : VCardVersion::k30;
    chosen = [path, chosen_version](Context& context) { return ExportContacts(context, *path, chosen_version); };
  });
}

}  // namespace

ContactWalk WalkWith(Progress& progress) {
  ContactWalk walk;
  walk.complain = [](const std::string& what) { Complain(what); };
  walk.step = [&progress](uint32_t count) { progress.Step(count); };
  return walk;
}

std::string NoContact(uint32_t oid) {
  return fmt::format("the phone has no contact with object id {}; contacts list shows all", oid);
}

PlacedContact NeedContact(ContactsClient& contacts, uint32_t oid) {
  Progress progress("looking for the contact", std::nullopt);
  auto found = FindContacts(contacts, {oid}, WalkWith(progress));
  if (found.empty()) throw Failure(Exit::kPhoneError, NoContact(oid));
  return std::move(found.begin()->second);
}

void DeclareContacts(CLI::App& app, Action& chosen) {
  CLI::App* contacts = AddGroup(app, "contacts", "The phone's contacts");
  contacts->add_subcommand("list", "All contacts with their object ids")->callback([&chosen] {
    chosen = ListContacts;
  });

  CLI::App* get = contacts->add_subcommand("get", "Every field of one contact");
  auto oid = std::make_shared<uint32_t>();
  get->add_option("N", *oid, "The contact's object id, as list shows it")->required();
  get->callback([oid, &chosen] { chosen = [oid](Context& context) { return GetContact(context, *oid); }; });

  DeclareExport(*contacts, chosen);
  DeclareContactWriting(*contacts, chosen);
}

}  // namespace brelix::cli
