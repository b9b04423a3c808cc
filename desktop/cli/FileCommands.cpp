#include "desktop/cli/FileCommands.h"

#include <chrono>
#include <filesystem>
#include <fmt/format.h>
#include <memory>
#include <utility>

#include "desktop/Text.h"
#include "desktop/cli/Progress.h"
#include "desktop/files/LocalName.h"
#include "desktop/files/Pull.h"
#include "desktop/files/Tree.h"

namespace brelix::cli {
namespace {

namespace fs = std::filesystem;

struct Listed {
  std::string path;  // for people
  FileEntry entry;
};

std::string UtcText(int64_t seconds, char between) {
  const std::chrono::sys_seconds time{std::chrono::seconds(seconds)};
  const auto midnight = std::chrono::floor<std::chrono::days>(time);
  const std::chrono::year_month_day day{midnight};
  const std::chrono::hh_mm_ss clock{time - midnight};
  return TimeText({static_cast<int>(day.year()), static_cast<int>(static_cast<unsigned>(day.month())),
                   static_cast<int>(static_cast<unsigned>(day.day())), static_cast<int>(clock.hours().count()),
                   static_cast<int>(clock.minutes().count()), static_cast<int>(clock.seconds().count())},
                  between);
}

std::string ForPeople(std::optional<int64_t> time) { return time ? UtcText(*time, ' ') : ""; }
Json TimeJson(std::optional<int64_t> time) { return time ? Json(UtcText(*time, 'T') + "Z") : Json(); }

Json ObjectOf(const Listed& file) {
  const FileEntry& entry = file.entry;
  return {{"path", file.path},          {"name", CleanUtf8(entry.name)},        {"folder", entry.IsFolder()},
          {"size", OrNull(entry.size)}, {"modified", TimeJson(entry.modified)}, {"attributes", entry.attributes}};
}

std::string SizeText(const FileEntry& entry) {
  if (entry.IsFolder()) return "";
  return entry.size ? std::to_string(*entry.size) : "?";
}

Exit Tell(const Problems& problems) {
  for (const Problem& problem : problems) Complain(problem.why);
  return problems.empty() ? Exit::kOk : Exit::kPartial;
}

// ls

struct LsWords {
  std::string text = "/";
  PhonePath path;
  bool recursive = false, with_details = false;
};

void Show(const std::vector<Listed>& files, bool json, bool with_details) {
  List list(json, {{"Attributes"}, {"Size", true}, {"Modified (UTC)"}, {"Name"}});
  for (const Listed& file : files) {
    if (json || with_details)
      list.Add(ObjectOf(file),
               {file.entry.attributes, SizeText(file.entry), ForPeople(file.entry.modified), file.path});
    else
      WriteToStdout(Printable(file.path) + "\n");
  }
  list.Finish();
}

Exit ListTree(Context& context, PhoneFiles& files, const LsWords& words) {
  Tree tree;
  {
    Progress progress("listing", std::nullopt);
    size_t known = 0;
    tree = WalkTree(files, words.path, [&](size_t count) { progress.Advance(count - std::exchange(known, count)); });
  }
  std::vector<Listed> listed;
  for (TreeNode& node : tree.nodes) listed.push_back({node.path.ForPeople(), std::move(node.entry)});
  Show(listed, context.options.json, words.with_details);
  return Tell(tree.problems);
}

Exit Ls(Context& context, const LsWords& words) {
  context.phone.Start();
  PhoneFiles files(context.session);
  std::vector<FileEntry> entries;
  PhonePath folder = words.path;
  if (words.path.HasWildcards()) {
    entries = files.Match(words.path);
    if (entries.empty())
      throw Failure(Exit::kPhoneError, fmt::format("{}: nothing on the phone matches", words.path.ForPeople()));
    folder = folder.Folder();
  } else if (const auto info = words.path.IsRoot() ? std::nullopt : std::optional(files.Info(words.path));
             info && !info->IsFolder()) {
    entries.push_back(*info);
    folder = folder.Folder();
  } else if (words.recursive) {
    return ListTree(context, files, words);
  } else {
    entries = files.List(words.path);
  }
  std::vector<Listed> listed;
  const std::string before = folder.IsRoot() ? "\\" : folder.ForPeople() + "\\";
  for (FileEntry& entry : entries) {
    const std::string name = entry.name.empty() ? "(a name that the phone cannot tell)" : CleanUtf8(entry.name);
    listed.push_back({context.options.json ? before + CleanUtf8(entry.name) : name, std::move(entry)});
  }
  Show(listed, context.options.json, words.with_details);
  return Exit::kOk;
}

// stat and cat

Exit Stat(Context& context, const PhonePath& path) {
  context.phone.Start();
  PhoneFiles files(context.session);
  const FileEntry entry = files.Info(path);
  Report& report = context.report;
  report.Add("Path", "path", path.ForPeople());
  report.Add("Name", "name", CleanUtf8(entry.name));
  report.Add("Kind", entry.IsFolder() ? "folder" : "file", "folder", entry.IsFolder());
  std::optional<std::string> size;
  if (entry.size) size = fmt::format("{} ({} bytes)", ReadableSize(*entry.size), *entry.size);
  if (!entry.IsFolder()) report.Add("Size", size, "size", OrNull(entry.size));
  std::optional<std::string> time;
  if (entry.modified) time = ForPeople(entry.modified) + " UTC";
  report.Add("Modified", time, "modified", TimeJson(entry.modified));
  report.Add("Attributes", "attributes", entry.attributes);
  return Exit::kOk;
}

Exit Cat(Context& context, const PhonePath& path) {
  context.phone.Start();
  PhoneFiles files(context.session);
  const std::optional<uint32_t> size = files.Info(path).size;
  files.Announce(path, size);
  files.Read(path, size, [](ByteView bytes) {
    WriteToStdout({reinterpret_cast<const char*>(bytes.data()), bytes.size()});
  });
  files.Close();
  return Exit::kOk;
}

// pull

struct PullWords {
  std::string text, target;
  PhonePath path;
  PullOptions options;
};

void TellCounts(const PullCounts& counts, const Problems& problems, Report& report) {
  report.Add("Files pulled", std::to_string(counts.files), "files", counts.files);
  report.Add("Bytes", std::to_string(counts.bytes), "bytes", counts.bytes);
  if (counts.found_here > 0)
    report.Add("Bytes that were here and fit", std::to_string(counts.found_here), "found_here", counts.found_here);
  report.Add("Left as they were", std::to_string(counts.skipped), "skipped", counts.skipped);
  Json list = Json::array();
  for (const Problem& problem : problems) list.push_back({{"path", problem.path}, {"why", problem.why}});
  report.Add("Not pulled", std::to_string(problems.size()), "problems", list);
}

Exit PullFolder(Context& context, PhoneFiles& files, const PullWords& words, std::optional<int64_t> modified) {
  Tree tree;
  {
    Progress progress("looking for files", std::nullopt);
    size_t known = 0;
    tree = WalkTree(files, words.path, [&](size_t count) { progress.Advance(count - std::exchange(known, count)); });
  }
  uint64_t total = 0;
  for (const TreeNode& node : tree.nodes) total += node.entry.size.value_or(0);
  Problems problems;
  PullCounts counts;
  {
    Progress progress(words.path.ForPeople(), total, Progress::Unit::kBytes);
    Pull pull(files, words.options, {[&](uint64_t bytes) { progress.Advance(bytes); }, Complain});
    problems = pull.Folder(tree, modified, words.target);
    counts = pull.counts();
  }
  TellCounts(counts, problems, context.report);
  return Tell(problems);
}

Exit PullFile(Context& context, PhoneFiles& files, const PullWords& words, const FileEntry& entry) {
  fs::path target = words.target;
  if (words.target.ends_with('/') || fs::is_directory(target)) target /= LocalName(words.path.LastName());
  Progress progress(words.path.ForPeople(), entry.size, Progress::Unit::kBytes);
  Pull pull(files, words.options, {[&](uint64_t bytes) { progress.Advance(bytes); }, Complain});
  pull.File(words.path, entry, target);
  files.Close();
  TellCounts(pull.counts(), {}, context.report);
  return Exit::kOk;
}

Exit PullAnything(Context& context, const PullWords& words) {
  context.phone.Start();
  PhoneFiles files(context.session);
  try {
    if (words.path.IsRoot()) return PullFolder(context, files, words, std::nullopt);
    const FileEntry entry = files.Info(words.path);
    if (entry.IsFolder()) return PullFolder(context, files, words, entry.modified);
    return PullFile(context, files, words, entry);
  } catch (const Failure& failure) {
    const bool stopped = failure.code() == Exit::kLinkLost || failure.code() == Exit::kInterrupted;
    if (!stopped) throw;
    throw Failure(failure.code(), fmt::format("{}; --resume goes on with what is here", failure.what()));
  }
}

PhonePath OneOf(const std::string& text) {
  const PhonePath path = PhonePath::Parse(text);
  if (path.HasWildcards()) throw Failure(Exit::kUsage, fmt::format("{}: only ls takes wildcards", path.ForPeople()));
  RequestFor(path.Wire());  // throws what cannot be asked for
  return path;
}

void DeclareLs(CLI::App& group, Action& chosen) {
  const auto words = std::make_shared<LsWords>();
  CLI::App* ls = group.add_subcommand("ls", "List a folder, or what a pattern matches");
  ls->add_option("PATH", words->text, "Folder, file or pattern, with \\ or /")->capture_default_str();
  ls->add_flag("-R,--recursive", words->recursive, "List the folders in it, too");
  ls->add_flag("-l,--long", words->with_details, "Show attributes, size and time");
  ls->callback([words, &chosen] {
    words->path = PhonePath::Parse(words->text);
    RequestFor(words->path.EverythingIn());
    if (words->path.HasWildcards() && words->recursive)
      throw Failure(Exit::kUsage, "files ls: -R takes a folder, not a pattern");
    if (words->path.Folder().HasWildcards())
      throw Failure(Exit::kUsage,
                    fmt::format("{}: wildcards can stand in the last name only", words->path.ForPeople()));
    chosen = [words](Context& context) { return Ls(context, *words); };
  });
}

void DeclareOne(CLI::App& group, const char* name, const char* help, Action& chosen,
                Exit (*act)(Context&, const PhonePath&)) {
  const auto text = std::make_shared<std::string>();
  CLI::App* command = group.add_subcommand(name, help);
  command->add_option("PATH", *text, "A path on the phone, with \\ or /")->required();
  command->callback(
      [text, act, &chosen] { chosen = [path = OneOf(*text), act](Context& context) { return act(context, path); }; });
}

void DeclarePull(CLI::App& group, Action& chosen) {
  const auto words = std::make_shared<PullWords>();
  CLI::App* pull = group.add_subcommand("pull", "Bring a file, or a folder with all that is in it");
  pull->add_option("PATH", words->text, "A path on the phone, with \\ or /")->required();
  pull->add_option("TARGET", words->target,
                   "For a file: its new name, or a folder to put it into; for a folder: the folder to make of it")
      ->required();
  pull->add_flag(
      "--resume", words->options.resume,
      "Go on after an interruption: leave what has the same size and time, check and finish unfinished files");
  pull->add_flag("--skip-existing", words->options.skip_existing, "Leave every file that is here already");
  pull->callback([words, &chosen] {
    words->path = OneOf(words->text);
    if (words->target.empty()) throw Failure(Exit::kUsage, "files pull: where to? The target is empty");
    chosen = [words](Context& context) { return PullAnything(context, *words); };
  });
}

}  // namespace

void DeclareFiles(CLI::App& app, Action& chosen) {
  CLI::App* files = AddGroup(app, "files", "The phone's files");
  DeclareLs(*files, chosen);
  DeclareOne(*files, "stat", "Show a file's details", chosen, Stat);
  DeclareOne(*files, "cat", "Write a file to standard output", chosen, Cat);
  DeclarePull(*files, chosen);
}

}  // namespace brelix::cli
