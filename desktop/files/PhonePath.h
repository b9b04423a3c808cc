// Paths on a phone: names between backslashes, in the phone's UTF-8, upper and lower case being the same.
#pragma once

#include <string>
#include <string_view>

#include "desktop/EntryFailure.h"
#include "desktop/FrameCodec.h"

namespace brelix {

// Whether a text from the phone is a single name that can be put behind a path: not empty, not "." or "..", without
// separators, wildcards and NUL, and text that a phone makes.
bool IsName(std::string_view wire);

class PhonePath {
 public:
  // As people write it: "\My Documents\a.txt", "/My Documents/a.txt", without regard to doubled separators and one at
  // the end. Throws a usage failure for a path that no phone has. Wildcards stay as they are.
  static PhonePath Parse(std::string_view utf8);
  PhonePath() = default;  // the root

  // One that Wire() gave.
  static PhonePath OfWire(std::string wire) { return PhonePath(wire == "\\" ? "" : std::move(wire)); }

  // The name must have passed IsName.
  PhonePath operator/(std::string_view name) const { return PhonePath(path_ + "\\" + std::string(name)); }

  bool IsRoot() const { return path_.empty(); }
  bool HasWildcards() const { return path_.find_first_of("*?") != path_.npos; }
  std::string Wire() const { return IsRoot() ? "\\" : path_; }
  // The pattern that everything in this folder matches.
  std::string EverythingIn() const { return path_ + "\\*"; }
  PhonePath Folder() const { return PhonePath(path_.substr(0, IsRoot() ? 0 : path_.rfind('\\'))); }
  std::string LastName() const { return IsRoot() ? "" : path_.substr(path_.rfind('\\') + 1); }
  std::string ForPeople() const;

 private:
  explicit PhonePath(std::string path) : path_(std::move(path)) {}
  std::string path_;  // empty for the root, otherwise "\name\name"
};

// The request data for a path. Throws an EntryFailure for one that holds the end mark: the phone would cut it there.
Bytes RequestFor(std::string_view wire_path);

}  // namespace brelix
