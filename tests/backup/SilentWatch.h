// A watch of a backup that tells nobody.
#pragma once

#include "desktop/backup/Backup.h"

namespace test {

struct SilentWatch final : brelix::backup::BackupWatch {
  void Started(bool goes_on, const std::string&) override { went_on = goes_on; }
  void Begin(const brelix::backup::Domain&) override {}
  void End() override {}
  void Expect(std::optional<uint64_t>) override {}
  void Advance(uint64_t) override {}
  void Lost(brelix::Problem) override {}
  void Notice(const std::string&) override {}
  bool went_on = false;
};

}  // namespace test
