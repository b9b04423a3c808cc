// The phone's files, for reading. The agent has one handle for listings and files together: whatever is begun here ends
// what was begun before.
#pragma once

#include <functional>
#include <vector>

#include "desktop/Session.h"
#include "desktop/files/FileAhead.h"
#include "desktop/files/FolderAhead.h"
#include "desktop/files/Listing.h"
#include "desktop/files/PhonePath.h"

namespace brelix {

class PhoneFiles {
 public:
  // The session must be open.
  explicit PhoneFiles(Session& session) : session_(session), ahead_(session), folders_(session) {}
  // Closes what is open on the phone, if the phone can still be talked to.
  ~PhoneFiles();
  PhoneFiles(const PhoneFiles&) = delete;
  PhoneFiles& operator=(const PhoneFiles&) = delete;

  // What the phone answers with an error is an EntryFailure of kPhoneError in all of these.

  FileEntry Info(const PhonePath& path);
  // Everything in a folder, or everything that a pattern matches, in the phone's order.
  std::vector<FileEntry> List(const PhonePath& folder);
  // Says that a folder will be listed, soon or later, in any order. False when there is no room for more before some
  // were listed.
  bool AnnounceFolder(const PhonePath& folder, bool soon);
  // Of the folders that were announced; see FolderAhead.
  const FolderAhead& folders() const { return folders_; }
  void ForgetFolder(const PhonePath& folder) { folders_.Forget(folder); }
  std::vector<FileEntry> Match(const PhonePath& pattern);
  // Hands a file's bytes to the sink, piece by piece, and returns their number. A listed size spares the last request
  // when the bytes that came are as many and the last piece is short; it decides nothing else.
  uint64_t Read(const PhonePath& path, std::optional<uint32_t> listed_size, const std::function<void(ByteView)>& sink);
  // Says that a file will be read with this size, after those of which it was said before. What is read in this order
  // is asked for ahead; files may be passed over, and others read or asked about in between, which takes longer.
  void Announce(const PhonePath& path, std::optional<uint32_t> listed_size);
  void Close();

 private:
  Result Ask(uint16_t command, ByteView data = {});
  void StopAhead();
  uint64_t ReadAnnounced(const PhonePath& path, const std::function<void(ByteView)>& sink);
  uint64_t ReadAlone(const PhonePath& path, std::optional<uint32_t> listed_size,
                     const std::function<void(ByteView)>& sink);
  std::vector<FileEntry> Entries(std::string_view pattern, const std::string& shown);

  Session& session_;
  FileAhead ahead_;
  FolderAhead folders_;
  bool open_ = false;
  bool usable_ = true;
};

}  // namespace brelix
