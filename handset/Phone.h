// What one phone consists of. For the handset's own sources.
#pragma once

#include <atomic>
#include <filesystem>
#include <map>
#include <memory>
#include <mutex>

#include "handset/Faults.h"
#include "handset/HandleTable.h"
#include "handset/Handset.h"
#include "handset/Ledger.h"
#include "handset/com/OutsideHolders.h"
#include "handset/radio/Radio.h"
#include "handset/store/Store.h"
#include "handset/system/Clock.h"
#include "handset/system/FileRoot.h"
#include "handset/system/MessageBoxes.h"
#include "handset/system/PhoneThreads.h"

namespace handset {

// How often each thread started COM, and as what.
struct ComThread {
  unsigned starts = 0;
  ce::DWORD flags = 0;
};

struct Phone {
  explicit Phone(const std::filesystem::path& folder);

  std::filesystem::path filesRoot;
  Store store;
  FileRoot files;
  // Shared, since blocks of memory may outlive the phone that gave them.
  std::shared_ptr<Ledger> ledger = std::make_shared<Ledger>();
  HandleTable handles{*ledger};
  Faults faults;
  Clock clock;
  MessageBoxes boxes;
  OutsideHolders outside;

  // The one that the description names, unless another one was chosen; made when it is first needed. Throws RadioError.
  Radio& GetRadio();
  std::mutex radioMutex;
  std::unique_ptr<Radio> radio;

  std::atomic<unsigned> winsockStarts{0};
  std::mutex comMutex;
  std::map<std::uint64_t, ComThread> comThreads;

  // Last, so that running threads end before what they use.
  PhoneThreads threads;
};

}  // namespace handset
