// What the handset throws. Every text is one line, names the place and says what to do.
#pragma once

#include <stdexcept>
#include <string>

namespace handset {

// A description that does not describe a phone: where (file when known, JSON pointer), what was expected, what was
// found.
class DescriptionError : public std::runtime_error {
 public:
  DescriptionError(std::string pointer, std::string expected, std::string found, const std::string& file = {})
      : std::runtime_error((file.empty() ? "" : file + ": ") + (pointer.empty() ? "the description" : pointer) +
                           ": expected " + expected + ", found " + found),
        m_pointer(std::move(pointer)),
        m_expected(std::move(expected)),
        m_found(std::move(found)) {}

  const std::string& GetPointer() const { return m_pointer; }
  const std::string& GetExpected() const { return m_expected; }
  const std::string& GetFound() const { return m_found; }

 private:
  std::string m_pointer;
  std::string m_expected;
  std::string m_found;
};

// A phone folder that cannot be made or opened.
class StoreError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// A Bluetooth radio that this program or this system does not have.
class RadioError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// A library that cannot be loaded, or that refused to be.
class LoadError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// A fault rule for a call that does not exist or cannot fail.
class FaultError : public std::invalid_argument {
 public:
  using std::invalid_argument::invalid_argument;
};

}  // namespace handset
