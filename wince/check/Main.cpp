// check-dll: whether a library or program file is fit for a phone, and exports what it should.
#include <cstdio>
#include <string>
#include <vector>

#include "wince/pe/CheckImage.h"

namespace {

constexpr int kFit = 0;
constexpr int kUnfit = 1;
constexpr int kUsage = 2;

constexpr char kHelp[] =
    "usage: check-dll [--exports MAP | --program] [--beside LIBRARY]... FILE\n"
    "Checks a file for Windows CE 5 on ARM: machine, kind, subsystem, relocations, sections, imports.\n"
    "  --exports MAP     it exports what MAP lists, and nothing else\n"
    "  --program         it is a program, not a library\n"
    "  --beside LIBRARY  imports from LIBRARY, which is shipped with it, are right\n"
    "Exit status: 0 fit, 1 unfit or unreadable, a line on standard error for each reason, 2 wrong usage.\n";

struct Options {
  pe::Kind kind = pe::Kind::kLibrary;
  std::string map;
  std::set<std::string> beside;
  std::string file;
};

// False when the command line is none.
bool Parse(const std::vector<std::string>& words, Options& options) {
  for (std::size_t i = 0; i < words.size(); ++i) {
    const bool hasNext = i + 1 < words.size();
    if (words[i] == "--exports" && hasNext) {
      options.map = words[++i];
    } else if (words[i] == "--beside" && hasNext) {
      options.beside.insert(words[++i]);
    } else if (words[i] == "--program") {
      options.kind = pe::Kind::kProgram;
    } else if (words[i].starts_with("-") || !options.file.empty()) {
      return false;
    } else {
      options.file = words[i];
    }
  }
  return !options.file.empty();
}

int Check(const Options& options) {
  const pe::PeFile file = pe::PeFile::Read(options.file);
  std::vector<std::string> problems = pe::CheckLoadable(file, options.kind);
  const auto add = [&](const std::vector<std::string>& more) {
    problems.insert(problems.end(), more.begin(), more.end());
  };
  add(pe::CheckImports(file, options.beside));
  if (!options.map.empty()) {
    add(pe::CheckExports(file, pe::ReadExportMap(options.map)));
  }
  for (const std::string& problem : problems) {
    std::fprintf(stderr, "check-dll: %s: %s\n", options.file.c_str(), problem.c_str());
  }
  if (problems.empty()) {
    std::printf("%s: %zu bytes, %zu imports, %zu exports, %zu relocations\n", options.file.c_str(), file.GetFileSize(),
                file.GetImports().size(), file.GetExports().size(), file.GetRelocations().size());
  }
  return problems.empty() ? kFit : kUnfit;
}

}  // namespace

int main(int argc, char** argv) {
  const std::vector<std::string> words(argv + 1, argv + argc);
  if (words.size() == 1 && words[0] == "--help") {
    std::fputs(kHelp, stdout);
    return kFit;
  }
  Options options;
  if (!Parse(words, options)) {
    std::fputs(kHelp, stderr);
    return kUsage;
  }
  try {
    return Check(options);
  } catch (const pe::PeError& error) {
    std::fprintf(stderr, "check-dll: %s: %s\n", options.file.c_str(), error.what());
    return kUnfit;
  } catch (const std::exception& error) {
    std::fprintf(stderr, "check-dll: %s\n", error.what());
    return kUsage;
  }
}
