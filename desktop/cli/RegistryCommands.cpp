#include "desktop/cli/RegistryCommands.h"

#include <fmt/format.h>
#include <memory>

#include "desktop/NewFile.h"
#include "desktop/Text.h"
#include "desktop/cli/Progress.h"
#include "desktop/registry/RegText.h"
#include "desktop/registry/ValueText.h"

namespace brelix::cli {
namespace {

Json DataJson(const RegistryValue& value) {
  if (value.IsText()) return CleanUtf8(value.Text());
  if (const auto number = Number(value)) return *number;
  if (const auto texts = MultiText(value)) {
    Json list = Json::array();
    for (const std::u16string& text : *texts) list.push_back(UnitsToUtf8(text));
    return list;
  }
  return {{"hex", Hex({reinterpret_cast<const char*>(value.data.data()), value.data.size()})}};
}

Exit Tell(const Problems& problems) {
  for (const Problem& problem : problems) Complain(problem.why);
  return problems.empty() ? Exit::kOk : Exit::kPartial;
}

Exit Ls(Context& context, const KeyPath& path) {
  context.phone.Start();
  PhoneRegistry registry(context.session);
  const RegistryList<std::string> keys = registry.Keys(path);
  Problems problems;
  const std::vector<RegistryValue> values = ReadValues(registry, path, problems);
  List list(context.options.json, {{"Name"}, {"Type"}, {"Data", false, true}});
  for (const std::string& wire : keys.entries) {
    const std::string name = CleanUtf8(wire);
    list.Add({{"kind", "key"}, {"name", name}}, {name, "key", ""});
  }
  for (const RegistryValue& value : values) {
    const std::string name = CleanUtf8(value.name);
    list.Add({{"kind", "value"}, {"name", name}, {"type", TypeText(value.type)}, {"data", DataJson(value)}},
             {name.empty() ? "@" : name, TypeText(value.type), DataText(value)});
  }
  list.Finish();
  if (keys.cut)
    problems.push_back({path.ForPeople(), fmt::format("{}: the phone's list of keys ends early: {}", path.ForPeople(),
                                                      PhoneErrorText(*keys.cut))});
  return Tell(problems);
}

Exit Get(Context& context, const KeyPath& path, const std::string& name) {
  context.phone.Start();
  const RegistryValue value = PhoneRegistry(context.session).Value(path, name);
  Report& report = context.report;
  report.Add("Key", "key", path.ForPeople());
  report.Add("Name", name.empty() ? "@" : CleanUtf8(name), "name", CleanUtf8(name));
  report.Add("Type", "type", TypeText(value.type));
  report.Add("Data", DataText(value), "data", DataJson(value));
  return Exit::kOk;
}

struct ExportWords {
  std::string text, file = "-";
  KeyPath path;
  bool utf8 = false;
};

Exit Export(Context& context, const ExportWords& words) {
  const RegEncoding encoding = words.utf8 ? RegEncoding::kUtf8 : RegEncoding::kUtf16;
  context.phone.Start();
  PhoneRegistry registry(context.session);
  PhoneRegistry(context.session).Keys(words.path);  // nothing is written where there is no such key
  NewFile file(words.file);
  file.Write(RegHeader(encoding));
  Problems unwritten, unread;
  {
    Progress progress("keys", std::nullopt);
    unread = WalkRegistry(registry, words.path, [&](const KeyContents& key) {
      file.Write(RegText(key, encoding, unwritten));
      progress.Advance();
    });
  }
  file.Commit();
  unread.insert(unread.end(), unwritten.begin(), unwritten.end());
  return Tell(unread);
}

void DeclareLs(CLI::App& group, Action& chosen) {
  const auto text = std::make_shared<std::string>();
  CLI::App* ls = group.add_subcommand("ls", "List the keys and values in a key");
  ls->add_option("KEY", *text, "For example HKLM/System")->required();
  ls->callback(
      [text, &chosen] { chosen = [path = KeyPath::Parse(*text)](Context& context) { return Ls(context, path); }; });
}

void DeclareGet(CLI::App& group, Action& chosen) {
  struct Words {
    std::string key, name;
  };
  const auto words = std::make_shared<Words>();
  CLI::App* get = group.add_subcommand("get", "Show one value");
  get->add_option("KEY", words->key, "For example HKLM/System")->required();
  get->add_option("NAME", words->name, "The value's name; without one, the key's unnamed value");
  get->callback([words, &chosen] {
    const KeyPath path = KeyPath::Parse(words->key);
    const auto name = ToWireText(words->name);
    if (!name) throw Failure(Exit::kUsage, "registry get: the value's name is not proper UTF-8");
    chosen = [path, name = *name](Context& context) { return Get(context, path, name); };
  });
}

void DeclareExport(CLI::App& group, Action& chosen) {
  const auto words = std::make_shared<ExportWords>();
  CLI::App* all = group.add_subcommand("export", "Write a key and all that is in it as a .reg text");
  all->add_option("KEY", words->text, "For example HKCU")->required();
  all->add_option("-o,--output", words->file, "The file to write; - is standard output")->capture_default_str();
  all->add_flag("--utf8", words->utf8, "In UTF-8 instead of UTF-16");
  all->callback([words, &chosen] {
    words->path = KeyPath::Parse(words->text);
    chosen = [words](Context& context) { return Export(context, *words); };
  });
}

}  // namespace

void DeclareRegistry(CLI::App& app, Action& chosen) {
  CLI::App* registry = AddGroup(app, "registry", "The phone's registry");
  DeclareLs(*registry, chosen);
  DeclareGet(*registry, chosen);
  DeclareExport(*registry, chosen);
}

}  // namespace brelix::cli
