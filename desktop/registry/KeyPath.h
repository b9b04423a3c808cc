// Paths of the phone's registry: a root of four letters and the names of keys behind it, upper and lower case being the
// same.
#pragma once

#include <string>
#include <string_view>

#include "desktop/FrameCodec.h"

namespace brelix {

class KeyPath {
 public:
  // As people write it: "HKLM\System", "HKLM/System", "HKEY_LOCAL_MACHINE\System". Names of keys may hold "/", so it
  // separates only where there is no backslash. Throws a usage failure for a path that no phone has.
  static KeyPath Parse(std::string_view utf8);
  KeyPath() = default;  // HKLM

  // The name of a key in this one, as the phone told it; IsKeyName holds.
  KeyPath operator/(std::string_view name) const { return KeyPath(path_ + "\\" + std::string(name)); }

  const std::string& Wire() const { return path_; }
  // With the root's whole name, as .reg texts have it; still the phone's UTF-8.
  std::string LongForm() const;
  std::string ForPeople() const;
  size_t Depth() const;

 private:
  explicit KeyPath(std::string path) : path_(std::move(path)) {}
  std::string path_ = "HKLM";
};

// Whether a text from the phone can be the name of a key: not empty, no backslash, no NUL, and text that a phone makes.
bool IsKeyName(std::string_view wire);

}  // namespace brelix
