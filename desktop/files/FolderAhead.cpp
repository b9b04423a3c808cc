#include "desktop/files/FolderAhead.h"

#include <algorithm>
#include <fmt/format.h>
#include <iterator>

#include "desktop/Wire.h"

namespace brelix {
namespace {

constexpr size_t kMostEntries = 250'000;  // of one folder; a FAT folder has room for 65,536
constexpr size_t kMostBytes = size_t{32} << 20;
// A phone ends a part with the entry that brings it to 16240 bytes.
constexpr size_t kLargestPart = size_t{64} << 10;
constexpr size_t kMostParts = 64;  // asked for at a time

constexpr size_t kAnnounced = 4096;  // in all, most of which came already
constexpr size_t kUnderWay = 256;

// Bytes held, up to which more is asked for, and up to which what comes is kept. What is under way when no more is
// asked for still fits on a phone whose folders are of one part. In memory an entry takes about twice as much.
struct Room {
  size_t ask, keep;
};
constexpr Room kRoom{size_t{2} << 20, size_t{6} << 20};
constexpr Room kRoomForSoon{size_t{7} << 20, size_t{8} << 20};

}  // namespace

bool ListedFolder::TakeOpened(const Result& opened) const {
  if (opened.code == wire::kNoMoreFiles || opened.code == wire::kFileNotFound) return false;
  if (opened.code != 0)
    throw EntryFailure(Exit::kPhoneError, fmt::format("{}: {}", shown_, PhoneErrorText(opened.code)));
  return true;
}

bool ListedFolder::TakePart(const Result& part) {
  if (part.code != wire::kNoMoreFiles && part.code != 0)
    throw EntryFailure(Exit::kPhoneError,
                       fmt::format("{}: the listing broke off: {}", shown_, PhoneErrorText(part.code)));
  if (part.data.size() > kLargestPart)
    throw Failure(Exit::kProtocol,
                  fmt::format("{}: the phone's listing comes in a part of {} bytes; no phone sends more "
                              "than {}",
                              shown_, part.data.size(), kLargestPart));
  const size_t before = entries.size();
  std::vector<FileEntry> more = ParseFolderPart({reinterpret_cast<const char*>(part.data.data()), part.data.size()});
  const bool repeated = !entries.empty() && !more.empty() && more.front() == entries.back();
  if (entries.empty()) entries.reserve(more.size());  // most folders are of one part
  std::move(more.begin() + (repeated ? 1 : 0), more.end(), std::back_inserter(entries));
  bytes += part.data.size();
  if (part.code == wire::kNoMoreFiles) return true;
  if (entries.size() == before || entries.size() > kMostEntries || bytes > kMostBytes)
    throw Failure(Exit::kProtocol, fmt::format("{}: the phone's listing does not end", shown_));
  return false;
}

size_t FolderAhead::UnderWay() const {
  return static_cast<size_t>(
      std::count_if(folders_.begin(), folders_.end(), [](const auto& each) { return !each.second->over; }));
}

bool FolderAhead::HasRoom(bool soon) const {
  if (folders_.size() >= kAnnounced) return false;
  return soon || (bytes_held_ < kRoom.ask && UnderWay() < kUnderWay);
}

void FolderAhead::Announce(const PhonePath& folder, bool soon) {
  auto& known = folders_[folder.Wire()];
  if (!known) {
    known = std::make_shared<Folder>(Folder{.path = folder, .listed = ListedFolder(folder.ForPeople())});
    order_.push_back(known);
  }
  known->soon |= soon;
}

const std::vector<FileEntry>* FolderAhead::Held(const PhonePath& folder) const {
  const auto found = folders_.find(folder.Wire());
  return found != folders_.end() && found->second->over ? &found->second->listed.entries : nullptr;
}

void FolderAhead::Forget(const PhonePath& folder) {
  const auto found = folders_.find(folder.Wire());
  if (found == folders_.end()) return;
  LetGo(*found->second);
  folders_.erase(found);
}

// Its answers that are still to come are nobody's.
void FolderAhead::LetGo(Folder& folder) {
  bytes_held_ -= folder.listed.bytes;
  folder.listed.bytes = 0;
  folder.over = true;
}

// What an answer says of the folder costs this one. Never to stand around what sends or takes in: what the stream
// throws there, an interrupt or a lost link, belongs to no folder.
template <typename Act>
void FolderAhead::Try(Folder& folder, Act act) {
  try {
    act();
  } catch (const Failure& failure) {
    const bool of_this_folder =
        dynamic_cast<const EntryFailure*>(&failure) != nullptr || failure.code() == Exit::kProtocol;
    if (!of_this_folder) throw;
    folder.failure = std::current_exception();
    folder.over = true;
  }
}

std::vector<FileEntry> FolderAhead::List(const PhonePath& path) {
  const std::shared_ptr<Folder> folder = folders_.at(path.Wire());
  first_ = folder;
  if (!stream_) stream_.emplace(session_);
  try {
    // Also when it came already: the agent is to have something to do meanwhile.
    for (;;) {
      if (const auto next = NextToAsk())
        Ask(next);
      else if (folder->over)
        break;
      else
        stream_->TakeOne();
    }
  } catch (const Failure&) {
    Stop();
    folders_.erase(path.Wire());
    throw;
  }
  first_.reset();
  Forget(path);
  if (folder->failure) std::rethrow_exception(folder->failure);
  return std::move(folder->listed.entries);
}

// The one that is waited for has precedence, then those that are wanted soon.
std::shared_ptr<FolderAhead::Folder> FolderAhead::NextToAsk() const {
  if (first_->wanted && !first_->over) return first_;
  std::shared_ptr<Folder> next;
  for (const auto& each : order_)
    if (const auto folder = each.lock(); folder && MayAsk(*folder)) {
      if (folder->soon) return folder;
      if (!next) next = folder;
    }
  return next;
}

bool FolderAhead::MayAsk(const Folder& folder) const {
  return folder.wanted && !folder.over && bytes_held_ < (folder.soon ? kRoomForSoon : kRoom).ask;
}

void FolderAhead::Ask(const std::shared_ptr<Folder>& folder) {
  folder->wanted = false;
  std::erase_if(order_, [&](const auto& each) { return each.expired() || each.lock() == folder; });
  if (folder != last_opened_) {
    bytes_held_ -= folder->listed.bytes;
    folder->listed = ListedFolder(folder->path.ForPeople());
    Bytes request;
    Try(*folder, [&] { request = RequestFor(folder->path.EverythingIn()); });
    if (folder->over) return;
    last_opened_ = folder;
    stream_->Ask(
        wire::kSystem, wire::kOpenListing, std::move(request),
        [folder](const Result& opened) {
          if (!folder->over) Try(*folder, [&] { folder->over = !folder->listed.TakeOpened(opened); });
        },
        wire::kResultSize);
  }
  const size_t parts = folder->parts;
  folder->missing += parts;
  for (size_t i = 0; i < parts; i++) AskPart(folder);
}

void FolderAhead::AskPart(const std::shared_ptr<Folder>& folder) {
  stream_->Ask(wire::kSystem, wire::kNextListing, {}, [this, folder](const Result& part) { TakePart(folder, part); });
}

void FolderAhead::TakePart(const std::shared_ptr<Folder>& folder, const Result& part) {
  folder->missing--;
  if (folder->over) return;
  bytes_held_ -= folder->listed.bytes;
  Try(*folder, [&] { folder->over = folder->listed.TakePart(part); });
  bytes_held_ += folder->listed.bytes;
  if (folder != first_ && bytes_held_ > (folder->soon ? kRoomForSoon : kRoom).keep) return ThrowAway(folder);
  if (folder->over || folder->missing > 0) return;
  // With another folder opened behind it, it begins anew.
  folder->wanted = true;
  folder->parts = std::min(folder->parts * 4, folder == last_opened_ ? kMostParts : kMostEntries);
  order_.push_back(folder);
}

void FolderAhead::ThrowAway(const std::shared_ptr<Folder>& folder) {
  const auto anew = std::make_shared<Folder>(
      Folder{.path = folder->path, .listed = ListedFolder(folder->path.ForPeople()), .soon = folder->soon});
  LetGo(*folder);
  folder->listed.entries = {};
  folders_[folder->path.Wire()] = anew;
  order_.push_back(anew);
}

void FolderAhead::Stop() {
  stream_.reset();
  last_opened_.reset();
  first_.reset();
  order_.clear();
  bytes_held_ = 0;
  for (auto& [wire, folder] : folders_) {
    *folder = Folder{.path = folder->path, .listed = ListedFolder(folder->path.ForPeople()), .soon = folder->soon};
    order_.push_back(folder);
  }
}

}  // namespace brelix
