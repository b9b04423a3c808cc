#include <algorithm>
#include <fmt/format.h>
#include <fmt/ranges.h>
#include <fstream>
#include <memory>

#include "desktop/NewFile.h"
#include "desktop/Text.h"
#include "desktop/Wire.h"
#include "desktop/cli/ContactCommands.h"
#include "desktop/cli/ContactImport.h"

namespace brelix::cli {
namespace {

struct HowToWrite {
  bool dry_run = false;
  bool allow_loss = false;
};

void AddDryRun(CLI::App& app, bool& dry_run) {
  app.add_flag("-n,--dry-run", dry_run, "Show what would change and change nothing");
}

void AddAllowLoss(CLI::App& app, bool& allow_loss) {
  app.add_flag("--allow-loss", allow_loss, "Cut texts that are too long for the phone's agent");
}

std::shared_ptr<uint32_t> AddOid(CLI::App& app) {
  auto oid = std::make_shared<uint32_t>();
  app.add_option("N", *oid, "The contact's object id, as list shows it")->required();
  return oid;
}

std::string NameAndId(const Contact& contact) {
  return fmt::format("contact {} ({})", contact.oid, CleanUtf8(DisplayName(contact)));
}

// set

using NewTexts = std::vector<std::pair<ContactField, std::string>>;

// What the user gave, in the form that a contact has it.
NewTexts CheckedTexts(const std::map<ContactField, std::string>& given) {
  NewTexts texts;
  for (const auto& [field, text] : given) {
    const std::string_view name = NameOf(field);
    if (!IsUtf8(text)) throw Failure(Exit::kUsage, fmt::format("set: the text for {} is not UTF-8", name));
    if (!IsDate(field) || text.empty()) {
      texts.emplace_back(field, text);
    } else if (auto date = NormalDate(text)) {
      texts.emplace_back(field, *date);
    } else {
      throw Failure(Exit::kUsage, fmt::format("set: {} \"{}\" is not a date; write 1970-05-01", name, text));
    }
  }
  if (texts.empty()) throw Failure(Exit::kUsage, "set: nothing to set; give a field, --JobTitle Engineer for example");
  return texts;
}

void ShowChanges(bool json, const std::vector<FieldChange>& changes) {
  List list(json, {{"Field"}, {"Before", false, true}, {"After", false, true}});
  for (const FieldChange& change : changes) {
    const std::string field(NameOf(change.field)), before = CleanUtf8(change.before), after = CleanUtf8(change.after);
    list.Add({{"field", field}, {"before", before}, {"after", after}}, {field, before, after});
  }
  list.Finish();
}

// The contact as it would be sent; throws where that would lose something.
Contact Sendable(const Contact& contact, bool allow_loss) {
  Contact sent = allow_loss ? Shortened(contact) : contact;
  const std::string reasons = ReasonsAgainst(sent);
  if (reasons.empty()) return sent;
  throw Failure(Exit::kWouldLoseData, fmt::format("{} cannot be written: {}", NameAndId(contact), reasons));
}

Exit SetContact(Context& context, uint32_t oid, const NewTexts& texts, HowToWrite how) {
  context.phone.Start();
  ContactsClient contacts(context.session);
  const auto [position, before, document] = NeedContact(contacts, oid);
  Contact after = before;
  for (const auto& [field, text] : texts) after[field] = text;
  after = Sendable(after, how.allow_loss);

  const auto changes = Changes(before, after);
  if (changes.empty()) Complain(NameAndId(before) + " is like that already");
  if (!changes.empty() && !how.dry_run) {
    const bool clears = after[ContactField::kFileAs].empty() && !before[ContactField::kFileAs].empty();
    contacts.Put(oid, after, clears ? EmptyFileAs::kClear : EmptyFileAs::kKeep);
    Contact read = contacts.At(position);
    if (read.oid != oid) read = NeedContact(contacts, oid).contact;
    if (const std::string otherwise = WrittenOtherwise(after, read); !otherwise.empty())
      throw Failure(Exit::kPartial,
                    fmt::format("{} was written, but the phone keeps it otherwise: {}", NameAndId(read), otherwise));
  }
  ShowChanges(context.options.json, changes);
  return Exit::kOk;
}

void DeclareSet(CLI::App& contacts, Action& chosen) {
  CLI::App* app = contacts.add_subcommand("set", "Change fields of one contact; an empty text clears a field");
  auto oid = AddOid(*app);
  auto how = std::make_shared<HowToWrite>();
  AddDryRun(*app, how->dry_run);
  AddAllowLoss(*app, how->allow_loss);
  auto given = std::make_shared<std::map<ContactField, std::string>>();
  for (size_t i = 0; i < kContactFields; i++) {
    const auto field = static_cast<ContactField>(i);
    app->add_option_function<std::string>(
           fmt::format("--{}", NameOf(field)), [given, field](const std::string& text) { (*given)[field] = text; },
           IsDate(field) ? "A date: 1970-05-01" : "")
        ->type_name(IsDate(field) ? "DATE" : "TEXT")
        ->group("Fields");
  }
  app->callback([=, &chosen] {
    const NewTexts texts = CheckedTexts(*given);
    chosen = [=](Context& context) { return SetContact(context, *oid, texts, *how); };
  });
}

// rm

// Deletes what was found and shows it. By object id alone a phone would delete whatever has it, an appointment too;
// these are known to be contacts.
uint32_t Remove(ContactsClient& contacts, const std::map<uint32_t, PlacedContact>& found, bool dry_run, List& list) {
  uint32_t removed = 0;
  for (const auto& [oid, placed] : found) {
    const std::string name = CleanUtf8(DisplayName(placed.contact));
    try {
      if (!dry_run) contacts.Delete(oid);
      removed++;
      list.Add({{"oid", oid}, {"name", name}, {"removed", !dry_run}}, {std::to_string(oid), name});
    } catch (const ContactFailure& failure) {
      if (found.size() == 1) throw;
      Complain(failure.what());
    }
  }
  return removed;
}

Exit RemoveContacts(Context& context, const std::set<uint32_t>& oids, bool dry_run) {
  context.phone.Start();
  uint32_t before = 0, removed = 0;
  List list(context.options.json, {{"Id", true}, {"Name"}});
  {
    ContactsClient contacts(context.session);
    before = contacts.Count();
    std::map<uint32_t, PlacedContact> found;
    {
      Progress progress("looking for contacts", std::nullopt);
      found = FindContacts(contacts, oids, WalkWith(progress));
    }
    if (found.empty() && oids.size() == 1) throw Failure(Exit::kPhoneError, NoContact(*oids.begin()));
    for (const uint32_t oid : oids)
      if (!found.contains(oid)) Complain(NoContact(oid));
    removed = Remove(contacts, found, dry_run, list);
  }
  list.Finish();
  const uint32_t expected = dry_run ? before : before - removed;
  if (const uint32_t left = ContactsClient(context.session).Count(); left != expected)
    throw Failure(Exit::kPartial, fmt::format("the phone has {} contacts left, and not {}", left, expected));
  return removed == oids.size() ? Exit::kOk : Exit::kPartial;
}

void DeclareRemove(CLI::App& contacts, Action& chosen) {
  CLI::App* app = contacts.add_subcommand("rm", "Delete contacts");
  auto oids = std::make_shared<std::vector<uint32_t>>();
  app->add_option("N", *oids, "The contacts' object ids, as list shows them")->required();
  auto dry_run = std::make_shared<bool>(false);
  AddDryRun(*app, *dry_run);
  app->callback([=, &chosen] {
    chosen = [=](Context& context) { return RemoveContacts(context, {oids->begin(), oids->end()}, *dry_run); };
  });
}

// photo

struct PhotoWords {
  std::string file, save;
  bool remove = false, dry_run = false;
};

Bytes ReadPicture(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  Bytes picture(wire::kMaxPicture + 1);
  in.read(reinterpret_cast<char*>(picture.data()), static_cast<std::streamsize>(picture.size()));
  if (in.bad() || (in.gcount() == 0 && !in.eof()))
    throw Failure(Exit::kLocalFile, fmt::format("{}: the picture cannot be read", path));
  picture.resize(static_cast<size_t>(in.gcount()));
  if (picture.empty())
    throw Failure(Exit::kLocalFile, fmt::format("{}: the file is empty; --remove takes a picture away", path));
  if (picture.size() > wire::kMaxPicture)
    throw Failure(Exit::kWouldLoseData, fmt::format("{}: the picture is larger than the {} bytes that a phone takes; "
                                                    "make it smaller first",
                                                    path, wire::kMaxPicture));
  return picture;
}

Exit SavePicture(const Contact& contact, const std::string& path) {
  if (contact.picture.empty()) throw Failure(Exit::kPhoneError, NameAndId(contact) + " has no picture");
  NewFile file(path);
  file.Write(contact.picture);
  file.Commit();
  return Exit::kOk;
}

Exit SetPhoto(Context& context, uint32_t oid, const PhotoWords& words, const Bytes& picture) {
  context.phone.Start();
  ContactsClient contacts(context.session);
  auto [position, contact, document] = NeedContact(contacts, oid);
  if (!words.save.empty()) return SavePicture(contact, words.save);
  context.report.Add("Picture", fmt::format("{} bytes instead of {}", picture.size(), contact.picture.size()),
                     "picture_bytes", picture.size());
  if (words.dry_run) return Exit::kOk;
  {
    Progress progress("sending the picture", picture.size(), Progress::Unit::kBytes);
    size_t known = 0;
    contacts.SetPicture(oid, picture, [&](size_t sent) { progress.Advance(sent - std::exchange(known, sent)); });
  }
  contact.picture = picture;
  Contact read = contacts.At(position);
  if (read.oid != oid) read = NeedContact(contacts, oid).contact;
  if (const std::string otherwise = WrittenOtherwise(contact, read); !otherwise.empty())
    throw Failure(Exit::kPartial, fmt::format("the picture was sent, but the phone keeps {} otherwise: {}",
                                              NameAndId(read), otherwise));
  return Exit::kOk;
}

void DeclarePhoto(CLI::App& contacts, Action& chosen) {
  CLI::App* app = contacts.add_subcommand("photo", "Set, save or remove a contact's picture");
  auto oid = AddOid(*app);
  auto words = std::make_shared<PhotoWords>();
  auto* file = app->add_option("FILE", words->file, "The picture to set, a JPEG file for most phones");
  auto* save =
      app->add_option("--save", words->save, "Write the contact's picture to this file; - for standard output");
  auto* remove = app->add_flag("--remove", words->remove, "Take the picture away");
  file->excludes(save)->excludes(remove);
  save->excludes(remove);
  AddDryRun(*app, words->dry_run);
  app->callback([=, &chosen] {
    if (words->file.empty() && words->save.empty() && !words->remove)
      throw Failure(Exit::kUsage, "photo: give a picture FILE, --save FILE or --remove");
    const auto picture = std::make_shared<Bytes>();
    if (!words->file.empty()) *picture = ReadPicture(words->file);
    chosen = [=](Context& context) { return SetPhoto(context, *oid, *words, *picture); };
  });
}

// put

void DeclarePut(CLI::App& contacts, Action& chosen) {
  CLI::App* app = contacts.add_subcommand("put", "Make new contacts of a vCard file");
  auto path = std::make_shared<std::string>();
  auto how = std::make_shared<HowToWrite>();
  app->add_option("FILE", *path, "A vCard file, version 2.1, 3.0 or 4.0")->required();
  AddDryRun(*app, how->dry_run);
  AddAllowLoss(*app, how->allow_loss);
  app->callback([=, &chosen] {
    const auto import = std::make_shared<ContactImport>(*path, how->allow_loss);
    if (how->dry_run)
      chosen = Action::WithoutPhone([import](const Options& options) { return import->Show(options.json); });
    else
      chosen = [import](Context& context) { return import->Run(context); };
  });
}

}  // namespace

void DeclareContactWriting(CLI::App& contacts, Action& chosen) {
  DeclarePut(contacts, chosen);
  DeclareSet(contacts, chosen);
  DeclareRemove(contacts, chosen);
  DeclarePhoto(contacts, chosen);
}

}  // namespace brelix::cli
