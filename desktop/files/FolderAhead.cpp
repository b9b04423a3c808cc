#include "desktop/files/FolderAhead.h"

#include <algorithm>
#include <fmt/format.h>
#include <iterator>

#include "desktop/Wire.h"

namespace brelix {
namespace {

constexpr size_t kMostEntries = 1'000'000;  // of one folder; more than a phone's storage has room for
constexpr size_t kFoldersAhead = 256;
constexpr size_t kEntriesAhead = 20'000;
constexpr size_t kMostParts = 64;  // asked for at a time

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
  const size_t before = entries.size();
  std::vector<FileEntry> more = ParseFolderPart({reinterpret_cast<const char*>(part.data.data()), part.data.size()});
  const bool repeated = !entries.empty() && !more.empty() && more.front() == entries.back();
  std::move(more.begin() + (repeated ? 1 : 0), more.end(), std::back_inserter(entries));
  if (part.code == wire::kNoMoreFiles) return true;
  if (entries.size() == before || entries.size() > kMostEntries)
    throw Failure(Exit::kProtocol, fmt::format("{}: the phone's listing does not end", shown_));
  return false;
}

bool FolderAhead::HasRoom() const { return folders_.size() < kFoldersAhead && entries_held_ < kEntriesAhead; }

void FolderAhead::Announce(const PhonePath& folder) {
  const auto added = std::make_shared<Folder>(Folder{.path = folder, .listed = ListedFolder(folder.ForPeople())});
  if (folders_.emplace(folder.Wire(), added).second) order_.push_back(added);
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
  const auto found = folders_.find(path.Wire());
  const std::shared_ptr<Folder> folder = found->second;
  if (!stream_) stream_.emplace(session_);
  try {
    while (!folder->over) {
      if (const auto next = NextToAsk(folder))
        Ask(next);
      else
        stream_->TakeOne();
    }
  } catch (const Failure&) {
    Stop();
    folders_.erase(found);
    throw;
  }
  folders_.erase(found);
  entries_held_ -= folder->listed.entries.size();
  if (folder->failure) std::rethrow_exception(folder->failure);
  return std::move(folder->listed.entries);
}

// The one that is waited for has precedence.
std::shared_ptr<FolderAhead::Folder> FolderAhead::NextToAsk(const std::shared_ptr<Folder>& first) const {
  if (first->wanted) return first;
  if (entries_held_ >= kEntriesAhead) return nullptr;
  for (const auto& each : order_)
    if (const auto folder = each.lock(); folder && folder->wanted && !folder->over) return folder;
  return nullptr;
}

void FolderAhead::Ask(const std::shared_ptr<Folder>& folder) {
  folder->wanted = false;
  std::erase_if(order_, [&](const auto& each) { return each.expired() || each.lock() == folder; });
  if (folder != last_opened_) {
    entries_held_ -= folder->listed.entries.size();
    folder->listed.entries.clear();
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
  entries_held_ -= folder->listed.entries.size();
  Try(*folder, [&] { folder->over = folder->listed.TakePart(part); });
  entries_held_ += folder->listed.entries.size();
  if (folder->over || folder->missing > 0) return;
  // With another folder opened behind it, it begins anew.
  folder->wanted = true;
  folder->parts = std::min(folder->parts * 4, folder == last_opened_ ? kMostParts : kMostEntries);
  order_.push_back(folder);
}

void FolderAhead::Stop() {
  stream_.reset();
  last_opened_.reset();
  order_.clear();
  entries_held_ = 0;
  for (auto& [wire, folder] : folders_) {
    *folder = Folder{.path = folder->path, .listed = ListedFolder(folder->path.ForPeople())};
    order_.push_back(folder);
  }
}

}  // namespace brelix
