// What the domains of contacts, appointments, calls and messages have in common.
#pragma once

#include <string>

#include "desktop/backup/Domain.h"
#include "desktop/backup/RawDocument.h"

namespace brelix::backup {

// Tells what could not be kept of one thing. Reasons do not name the phone's address, so that backups of one phone over
// two links say the same.
class LossTeller {
 public:
  explicit LossTeller(const Taking& taking) : watch_(taking.watch), prefix_(taking.session.address() + ": ") {}

  void Tell(const std::string& what, std::string why) const;
  void Tell(const std::string& what, const Losses& losses) const;
  // Runs `work`, which is about one thing. Failures that concern it alone are told, others thrown; false after one.
  template <typename Work>
  bool Try(const std::string& what, Work work) const {
    try {
      work();
      return true;
    } catch (const Failure& failure) {
      if (!ConcernsOneThing(failure)) throw;
      Tell(what, failure.what());
      return false;
    }
  }

 private:
  static bool ConcernsOneThing(const Failure& failure);

  Watch& watch_;
  const std::string prefix_;
};

// More calls, and more messages in one folder, than any phone has: one that tells still more never comes to an end.
inline constexpr uint64_t kMostItems = 1U << 20;

// Whether a phone lists its things by falling time, as a folder will. Told once, at the end.
class FallingTimes {
 public:
  void Next(std::optional<int64_t> time);
  void Finish(const LossTeller& losses, const std::string& what) const;

 private:
  std::optional<std::optional<int64_t>> last_;
  uint64_t rises_ = 0;
};

// "0000000007"
std::string OidKey(uint32_t oid);

// A time of the phone as the beginning of a record's key, such that rising times make rising keys:
// "2009-07-12T13:45:01".
std::string TimeKey(std::optional<int64_t> file_time);

}  // namespace brelix::backup
