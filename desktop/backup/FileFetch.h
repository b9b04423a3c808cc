// Brings listed files into the folder of a backup, one after the other: from the phone, or from the backup of before.
#pragma once

#include "desktop/backup/Domain.h"
#include "desktop/backup/FileList.h"
#include "desktop/files/PhoneFiles.h"

namespace brelix::backup {

class FileFetch {
 public:
  FileFetch(const Taking& taking, PhoneFiles& files, FileList& list) : taking_(taking), files_(files), list_(list) {}

  void MakeFolder(const ListedFile& folder);
  // This file will be taken, after those announced before.
  void Announce(const ListedFile& file);
  // What goes wrong with this file alone is told as lost, and nothing of it is left.
  void Take(const ListedFile& file);
  // After everything is in the folder.
  void SetTime(const ListedFile& folder);
  // Remembers what is done.
  void Finish();

 private:
  std::filesystem::path HostPath(const ListedFile& file) const { return taking_.folder.files() / file.host; }
  void Lose(const ListedFile& file, std::string_view why);
  bool IsDone(const ListedFile& file);
  bool TakeFromBefore(const ListedFile& file);
  void Fetch(ListedFile file);
  uint64_t Read(const ListedFile& file, int descriptor);
  void Verify(ListedFile& file, uint64_t count);
  void Done(const ListedFile& file, Source source);

  const Taking& taking_;
  PhoneFiles& files_;
  FileList& list_;
  size_t waiting_files_ = 0;
  uint64_t waiting_bytes_ = 0;
};

}  // namespace brelix::backup
