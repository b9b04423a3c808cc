// Paths, names and patterns of the phone's file system, before any folder is looked at.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace handset {

// A path, cut: the folders from the root on, and the last part, which may be empty or a pattern.
struct PhonePath {
  std::vector<std::u16string> folders;
  std::u16string last;
};

// Throws Failure: 3 for a path that is empty, not absolute or too long, or with a folder "." or ".." or without a name;
// 123 for a folder with a character that no name has.
PhonePath CutPath(std::u16string_view path);

// Whether something can be there: a path that CutPath takes, with a name at its end.
bool IsPhonePath(std::u16string_view path);

// Whether a file or folder can be called that: without path marks, wildcards and control characters, and not "." or
// "..". Such a name says nothing to the host but a name either.
bool IsFileName(std::u16string_view name);

// Whether only characters stand in it that names or patterns have.
bool IsFilePattern(std::u16string_view pattern);
bool HasWildcards(std::u16string_view pattern);
// "*" stands for any characters, "?" for one, and "*.*" also for names without a dot. Both sides folded.
bool MatchesPattern(std::u16string_view pattern, std::u16string_view name);

}  // namespace handset
