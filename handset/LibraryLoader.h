// Loads a phone library as the phone's loader does: the entry that the file's header names is called on attach and on
// detach.
#pragma once

#include <filesystem>

namespace handset {

// The entry runs with the calling thread's current phone, in the constructor and in the destructor.
class LoadedLibrary {
 public:
  enum class From {
    kFile,     // load the file
    kProcess,  // the library is linked to this program already
  };

  // Throws LoadError when the library cannot be loaded, names no entry, or its entry refuses the attach.
  explicit LoadedLibrary(const std::filesystem::path& file, From from = From::kFile);
  ~LoadedLibrary();
  LoadedLibrary(const LoadedLibrary&) = delete;
  LoadedLibrary& operator=(const LoadedLibrary&) = delete;

  // The address of an exported symbol, null when there is none.
  void* GetProcAddress(const char* name) const;

 private:
  void* m_library;
  void* m_entry = nullptr;
};

}  // namespace handset
