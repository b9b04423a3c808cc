// Folders that will be listed: they are asked for ahead, the next ones behind them. The agent has one handle, which the
// request for the next folder closes. A folder that comes in more parts than were asked for is therefore asked for once
// more, with more of them.
//
// What came and was not fetched is bounded, whatever the phone sends: a folder that finds the room used up is thrown
// away and asked for once more. Of the room a share is kept for folders that are to be listed soon, since those that
// were announced first may be far from their turn.
#pragma once

#include <exception>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <vector>

#include "desktop/Stream.h"
#include "desktop/files/Listing.h"
#include "desktop/files/PhonePath.h"

namespace brelix {

// What a folder's parts add up to: each further part begins with the last entry of the part before, once more.
class ListedFolder {
 public:
  explicit ListedFolder(std::string shown) : shown_(std::move(shown)) {}
  // True with the last part. Throws an EntryFailure when the phone breaks off, a protocol failure when it does not end.
  bool TakePart(const Result& part);
  // Whether the folder is open: false when nothing matches. Throws an EntryFailure when it cannot be.
  bool TakeOpened(const Result& opened) const;
  std::vector<FileEntry> entries;
  size_t bytes = 0;  // of the parts that they came in

 private:
  std::string shown_;
};

class FolderAhead {
 public:
  explicit FolderAhead(Session& session) : session_(session) {}

  // Whether one more may be announced.
  bool HasRoom(bool soon) const;
  // Also of one that was announced before, when its turn comes nearer.
  void Announce(const PhonePath& folder, bool soon);
  bool Knows(const PhonePath& folder) const { return folders_.contains(folder.Wire()); }
  // What is in an announced folder, if it came already; for a look, until anything else is done here.
  const std::vector<FileEntry>* Held(const PhonePath& folder) const;
  // An announced folder that will not be listed after all.
  void Forget(const PhonePath& folder);
  // How many are announced and did not come yet.
  size_t UnderWay() const;
  // What is in an announced folder. Throws what ListedFolder throws.
  std::vector<FileEntry> List(const PhonePath& folder);
  // What is under way is taken in and thrown away; it is asked for anew when it is wanted.
  void Stop();
  bool open() const { return last_opened_ != nullptr; }

 private:
  struct Folder {
    PhonePath path;
    ListedFolder listed;
    bool soon = false;
    size_t parts = 1;    // asked for at a time
    size_t missing = 0;  // parts that were asked for and not answered
    bool wanted = true;  // something is to be asked for
    bool over = false;
    std::exception_ptr failure{};
  };
  std::shared_ptr<Folder> NextToAsk() const;
  bool MayAsk(const Folder& folder) const;
  void Ask(const std::shared_ptr<Folder>& folder);
  void AskPart(const std::shared_ptr<Folder>& folder);
  void TakePart(const std::shared_ptr<Folder>& folder, const Result& part);
  void ThrowAway(const std::shared_ptr<Folder>& folder);
  void LetGo(Folder& folder);
  template <typename Act>
  static void Try(Folder& folder, Act act);

  Session& session_;
  std::map<std::string, std::shared_ptr<Folder>> folders_;
  std::vector<std::weak_ptr<Folder>> order_;  // as they were announced
  std::shared_ptr<Folder> last_opened_;       // on the phone, once all that was asked is answered
  std::shared_ptr<Folder> first_;             // that is waited for
  size_t bytes_held_ = 0;
  std::optional<Stream> stream_;
};

}  // namespace brelix
