// How things go wrong at the desktop's end. Every failure the library reports carries one of the exit codes that the
// command promises, so that the library, the command and the documentation speak of the same kinds.
#pragma once

#include <cstdint>
#include <span>
#include <stdexcept>
#include <string>

namespace brelix {

enum class Exit : int {
  kOk = 0,
  kUnexpected = 1,
  kUsage = 2,
  kLocalFile = 3,
  kNoDevice = 4,
  kDiffers = 5,
  kLinkLost = 6,
  kRefused = 7,
  kPhoneError = 8,
  kWouldLoseData = 10,
  kPartial = 11,
  kProtocol = 12,
  kInterrupted = 130,
};

struct ExitRow {
  Exit code;
  const char* name;
  const char* meaning;
};

// Every exit code there is, in rising order.
std::span<const ExitRow> ExitTable();

// The text is one line: what failed, where, and what to do about it where that is known.
class Failure : public std::runtime_error {
 public:
  Failure(Exit code, const std::string& text) : std::runtime_error(text), code_(code) {}
  Exit code() const { return code_; }

 private:
  Exit code_;
};

// "0x80070005 E_ACCESSDENIED (access denied)", or the bare number where the code has no name here.
std::string PhoneErrorText(uint32_t code);

}  // namespace brelix
