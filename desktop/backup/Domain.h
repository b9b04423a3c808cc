// What a backup consists of: the domains of a phone, one row of a table each (Domains.cpp).
//
// A domain takes its part of the phone over the wire and puts it into the folder under construction, and can read it
// from any phone's folder again as records. Everything else (folders, locks, manifests, what goes on after an
// interruption, what changed since the last backup) is the same for all of them and knows none of them.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <string_view>

#include "desktop/Client.h"
#include "desktop/EntryFailure.h"
#include "desktop/backup/PhoneFolder.h"
#include "desktop/backup/Record.h"

namespace brelix::backup {

// Told while a domain is taken. Calls of a domain come in any order and number.
class Watch {
 public:
  virtual ~Watch() = default;
  // How many items (for files: bytes) there will be, as far as the phone says.
  virtual void Expect(std::optional<uint64_t> total) = 0;
  // So many more of them need no more waiting.
  virtual void Advance(uint64_t by) = 0;
  // One item did not come, or not all of it. It is named in the manifest and makes the backup a partial one.
  virtual void Lost(Problem problem) = 0;
  // What is worth a word to the user and costs nothing.
  virtual void Notice(const std::string& text) = 0;
};

struct Taking {
  Session& session;  // open
  PhoneFolder& folder;
  Watch& watch;
  // The backup of the same phone that this one will replace, if there is one.
  const PhoneFolder* before = nullptr;
  // Take nothing from `before`, however unchanged it looks.
  bool full = false;
  // For what a domain that goes on where it was must remember until the backup is whole; its tables are its own. What
  // it remembers as done must be on the disk before, which `sync` sees to for all files at once.
  SQLite::Database* progress = nullptr;
  std::function<void()> sync = [] {};
};

struct Domain {
  std::string_view name;  // "contacts": on the command line, in the manifest, in reports
  std::string_view item;  // what one of its things is called: "contact"
  // What the wire cannot carry of any phone: the texts that every manifest has, one a line, for people.
  std::span<const std::string_view> not_carried;
  // SQL that empties the domain's tables of what an interrupted attempt left; null for one that goes on where it was.
  const char* clear;

  // Takes everything. What one item cannot do goes to watch.Lost and leaves the others alone. A failure that is thrown
  // ends the domain (the rest of it is lost, with this reason) and not the backup, but for a lost link, an interrupt,
  // a phone that is no longer there, and what no file of this computer can be written for.
  void (*take)(const Taking& taking);
  // All that the folder has of it.
  void (*for_each)(const PhoneFolder& folder, const RecordSink& sink);
};

// What ends the work and not only a domain of it: the next one would fare no better.
bool EndsEverything(const Failure& failure);

// In the order in which they are taken.
std::span<const Domain* const> Domains();
// Null when there is none of this name.
const Domain* FindDomain(std::string_view name);

}  // namespace brelix::backup
