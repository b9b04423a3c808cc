// A phone in software. One Handset owns everything the ce:: calls need: the store (phone.db), the file root (files/),
// clock, threads, sockets, message boxes, fault rules and the ledger of what was handed out. Many can live in one
// process; the one a thread works with is that thread's current phone, and a thread created through ce::CreateThread
// works with the phone of its creator.
#pragma once

#include <filesystem>
#include <functional>
#include <memory>
#include <nlohmann/json_fwd.hpp>

#include "platform/Winsock.h"

namespace handset {

class Faults;
class Ledger;
class MessageBoxes;
class Clock;
class Radio;
class Store;
struct Phone;
enum class RadioProvider : std::uint8_t;

// How threads made by ce::CreateThread run.
enum class Threads {
  kReal,    // a thread of the host system each
  kInline,  // a resumed body runs inside ce::WaitForSingleObject, on the waiter's thread: deterministic tests
};

class Handset {
 public:
  // Makes a new phone folder from a description (docs/handset.md). Throws DescriptionError or StoreError; then nothing
  // was created.
  static void Init(const std::filesystem::path& folder, const nlohmann::json& description);
  // The same with more in it: `complete` gets the phone's folder before anybody else sees it. When it throws, nothing
  // was created.
  static void Init(const std::filesystem::path& folder, const nlohmann::json& description,
                   const std::function<void(const std::filesystem::path& made)>& complete);
  // The same from a JSON file, which the texts of its errors then name.
  static void InitFromFile(const std::filesystem::path& folder, const std::filesystem::path& description);
  // Opens an existing phone folder. Throws StoreError when phone.db is missing, damaged or newer than this program.
  static std::unique_ptr<Handset> Open(const std::filesystem::path& folder);

  // Waits for the threads that still run.
  ~Handset();

  // The description of this phone: Init makes the same phone from it.
  nlohmann::json Describe() const;

  Faults& GetFaults();
  Ledger& GetLedger();
  MessageBoxes& GetMessageBoxes();
  Clock& GetClock();
  Store& GetStore();
  const std::filesystem::path& GetFilesRoot() const;

  // For threads created from now on.
  void SetThreads(Threads mode);

  // Chooses the radio behind the Bluetooth calls, in place of the one that the description names, and makes it at once.
  // Throws RadioError when this program or this system has none such; the text says what is missing.
  void UseRadio(RadioProvider provider);
  // The same with one that the caller made.
  void UseRadio(std::unique_ptr<Radio> radio);

  // Gives the phone a socket of the host system (connected or listening); the phone owns it from now on.
  // Throws std::system_error for what is no descriptor.
  ce::SOCKET AdoptSocket(int descriptor);

  // The calling thread's current phone; there must be one.
  static Handset& Current();
  // Null when there is none.
  static Handset* CurrentOrNull();

  // For the handset's own sources.
  Phone& GetPhone() { return *m_phone; }

 private:
  explicit Handset(std::unique_ptr<Phone> phone);
  std::unique_ptr<Phone> m_phone;
};

// Makes a phone the calling thread's current one for a scope.
class CurrentPhone {
 public:
  explicit CurrentPhone(Handset& phone);
  ~CurrentPhone();
  CurrentPhone(const CurrentPhone&) = delete;
  CurrentPhone& operator=(const CurrentPhone&) = delete;

 private:
  Handset* m_previous;
};

}  // namespace handset
