#include "desktop/cli/DiffCommand.h"

#include <algorithm>
#include <fmt/format.h>
#include <fmt/ranges.h>
#include <memory>

#include "desktop/Text.h"
#include "desktop/cli/PhoneAddress.h"
#include "desktop/cli/Progress.h"
#include "desktop/diff/Compare.h"

namespace brelix::cli {
namespace {

using diff::Change;
using diff::Difference;

struct DiffWords {
  std::string first, second;
  std::vector<std::string> only, without;
  diff::ReadOptions read;
};

constexpr struct {
  Change change;
  const char* word;
  char mark;
} kChanges[] = {{Change::kAdded, "added", '+'}, {Change::kGone, "gone", '-'}, {Change::kChanged, "changed", '~'}};

const auto& RowOf(Change change) {
  return *std::find_if(std::begin(kChanges), std::end(kChanges), [&](const auto& row) { return row.change == change; });
}

std::string Quoted(const std::optional<std::string>& value) {
  return value ? fmt::format("\"{}\"", Printable(CleanUtf8(*value))) : "none";
}

Json OrNothing(const std::optional<std::string>& value) { return value ? Json(CleanUtf8(*value)) : Json(); }

// What is added or gone takes one line, what is changed a further one for each field.
std::string ForPeople(const Difference& difference) {
  std::string text = fmt::format("{} {} {}\n", RowOf(difference.change).mark, difference.domain->name,
                                 Printable(CleanUtf8(difference.item.label)));
  if (difference.change != Change::kChanged) return text;
  for (const diff::FieldDifference& field : difference.fields)
    text +=
        fmt::format("    {}: {} -> {}\n", Printable(CleanUtf8(field.name)), Quoted(field.before), Quoted(field.after));
  return text;
}

std::string ForPrograms(const Difference& difference) {
  Json fields = Json::array();
  for (const diff::FieldDifference& field : difference.fields)
    fields.push_back(
        {{"field", CleanUtf8(field.name)}, {"before", OrNothing(field.before)}, {"after", OrNothing(field.after)}});
  return JsonLine({{"domain", difference.domain->name},
                   {"change", RowOf(difference.change).word},
                   {"item", CleanUtf8(difference.item.label)},
                   {"fields", fields}});
}

std::unique_ptr<Session> Begin(const std::string& name, const Options& options) {
  const auto timeout = std::chrono::milliseconds(static_cast<int64_t>(options.timeout_seconds * 1000));
  auto link = Connect(PhoneAddress(name), Clock::now() + timeout, options.cancel, options.bluetooth);
  auto session = std::make_unique<Session>(
      std::move(link),
      Session::Options{.timeout = timeout, .read_only = options.read_only, .window = options.window, .warn = Complain});
  Client(*session).Start();
  return session;
}

bool Named(const std::vector<std::string>& names, const diff::Domain& domain) {
  return std::find(names.begin(), names.end(), domain.name) != names.end();
}

bool Chosen(const DiffWords& words, const diff::Domain& domain) {
  return (words.only.empty() || Named(words.only, domain)) && !Named(words.without, domain);
}

Exit Diff(const Options& options, const DiffWords& words) {
  const auto first = Begin(words.first, options);
  const auto second = Begin(words.second, options);
  std::optional<Progress> progress;
  diff::CompareWatch watch;
  watch.tell = [&](const Difference& difference) {
    const Progress::Hidden hidden;
    WriteToStdout(options.json ? ForPrograms(difference) : ForPeople(difference));
  };
  watch.complain = [](const std::string& what) { Complain(what); };
  watch.begin = [&](const diff::Domain& domain, const diff::Side& side) {
    progress.reset();
    progress.emplace(fmt::format("{} of {}", domain.name, side.name), std::nullopt);
  };
  watch.step = [&] { progress->Advance(); };
  diff::Outcome all;
  for (const diff::Domain& domain : diff::Domains()) {
    if (!Chosen(words, domain)) continue;
    const diff::Outcome outcome =
        Compare(domain, {first.get(), words.first}, {second.get(), words.second}, words.read, watch);
    all.differences += outcome.differences;
    all.unread += outcome.unread;
  }
  progress.reset();
  if (all.unread > 0) Complain(fmt::format("{} items could not be read and were not compared", all.unread));
  if (all.unread > 0) return Exit::kPartial;
  return all.differences > 0 ? Exit::kDiffers : Exit::kOk;
}

void Check(const DiffWords& words, const Options& options) {
  if (words.first == words.second)
    throw Failure(Exit::kUsage,
                  fmt::format("diff: {} is given twice; a phone is not compared with itself", words.first));
  if (!options.trace_path.empty()) throw Failure(Exit::kUsage, "diff: a trace is of one phone; there is none of two");
}

std::vector<std::string> DomainNames() {
  std::vector<std::string> names;
  for (const diff::Domain& domain : diff::Domains()) names.emplace_back(domain.name);
  return names;
}

}  // namespace

void DeclareDiff(CLI::App& app, Action& chosen) {
  const auto words = std::make_shared<DiffWords>();
  CLI::App* diff = app.add_subcommand("diff", "What two phones, or a phone and a backup of it, do not have in common");
  diff->add_option("A", words->first, "A device address, or a phone's folder")->required();
  diff->add_option("B", words->second, "The other one")->required();
  const CLI::IsMember known(DomainNames());
  CLI::Option* only = diff->add_option("--only", words->only,
                                       "Compare only these: " + fmt::format("{}", fmt::join(DomainNames(), ", ")));
  only->delimiter(',')->check(known)->allow_extra_args(false)->option_text("DOMAIN,...");
  CLI::Option* without = diff->add_option("--without", words->without, "Leave these out");
  without->delimiter(',')->check(known)->allow_extra_args(false)->option_text("DOMAIN,...")->excludes(only);
  diff->add_flag("--contents", words->read.contents, "Compare the bytes of files, too");
  diff->add_flag("--all", words->read.all, "Also what changes by itself: clock, memory, power");
  diff->callback([words, &chosen] {
    chosen = Action::WithoutPhone([words](const Options& options) {
      Check(*words, options);
      return Diff(options, *words);
    });
  });
}

}  // namespace brelix::cli
