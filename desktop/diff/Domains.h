// What a phone has, as items to compare: one reader a domain, over the wire alone.
#pragma once

#include <cstdint>
#include <functional>
#include <span>
#include <string>

#include "desktop/Session.h"
#include "desktop/diff/Item.h"

namespace brelix::diff {

struct ReadOptions {
  bool contents = false;  // files by their bytes, too
  bool all = false;       // also what changes by itself: clock, memory, power
};

struct ReadWatch {
  // Told of everything that cannot be read and is left out.
  std::function<void(const std::string&)> complain;
  // Told of every item.
  std::function<void()> step = [] {};
};

struct Domain {
  const char* name;
  const char* help;
  // What of one item fails is complained of; a domain that cannot be read at all, and a lost link, are thrown.
  void (*read)(Session& session, const ReadOptions& options, const ReadWatch& watch, const TakeItem& take);
};

// In the order in which they are compared.
std::span<const Domain> Domains();

// One reader a row, in the files of their areas.
void ReadDevice(Session& session, const ReadOptions& options, const ReadWatch& watch, const TakeItem& take);
void ReadContacts(Session& session, const ReadOptions& options, const ReadWatch& watch, const TakeItem& take);
void ReadAgenda(Session& session, const ReadOptions& options, const ReadWatch& watch, const TakeItem& take);
void ReadCalls(Session& session, const ReadOptions& options, const ReadWatch& watch, const TakeItem& take);
void ReadMessages(Session& session, const ReadOptions& options, const ReadWatch& watch, const TakeItem& take);
void ReadFiles(Session& session, const ReadOptions& options, const ReadWatch& watch, const TakeItem& take);
void ReadRegistry(Session& session, const ReadOptions& options, const ReadWatch& watch, const TakeItem& take);

}  // namespace brelix::diff
