#include "handset/Handset.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <fmt/format.h>
#include <nlohmann/json.hpp>
#include <system_error>

#include "handset/Enter.h"
#include "handset/Errors.h"
#include "handset/net/HostSocket.h"
#include "handset/store/RadioRows.h"
#include "handset/system/DescribedFiles.h"

namespace handset {

namespace {

namespace fs = std::filesystem;

thread_local Handset* t_current = nullptr;

constexpr const char* kDatabase = "phone.db";
constexpr const char* kFiles = "files";

void Sync(const fs::path& path) {
  const UniqueFd fd(open(path.c_str(), O_RDONLY | O_CLOEXEC));
  if (!fd || fsync(fd.Get()) != 0) throw StoreError(path.string() + ": cannot be written to the disk; check its room");
}

// All files at once; nothing to do for a phone that has none.
void SyncFiles(const fs::path& files) {
  if (fs::is_empty(files)) return;
  const UniqueFd fd(open(files.c_str(), O_RDONLY | O_CLOEXEC));
  if (!fd || syncfs(fd.Get()) != 0)
    throw StoreError(files.string() + ": cannot be written to the disk; check its room");
}

// Removes a half-made phone unless it was kept.
class Scaffold {
 public:
  explicit Scaffold(const fs::path& target)
      : m_folder(target.parent_path() / fmt::format(".{}.new-XXXXXX", target.filename().string())) {
    std::string name = m_folder.string();
    if (mkdtemp(name.data()) == nullptr) {
      throw StoreError(target.parent_path().string() + ": no folder can be made here; choose another place");
    }
    m_folder = name;
  }
  ~Scaffold() {
    std::error_code ignored;
    fs::remove_all(m_folder, ignored);
  }
  Scaffold(const Scaffold&) = delete;
  Scaffold& operator=(const Scaffold&) = delete;

  const fs::path& GetFolder() const { return m_folder; }

 private:
  fs::path m_folder;
};

void CheckTarget(const fs::path& folder) {
  if (!fs::exists(fs::symlink_status(folder))) return;
  if (fs::is_directory(fs::symlink_status(folder)) && fs::is_empty(folder)) return;
  throw StoreError(folder.string() + ": already there and not an empty folder; choose another place");
}

}  // namespace

Phone::Phone(const fs::path& folder)
    : filesRoot(folder / kFiles), store(folder / kDatabase), files(filesRoot), clock(store.GetClock()) {
  for (const BoxAnswer& answer : store.GetMessageBoxes()) boxes.AddAnswer(answer);
  for (const FaultRule& rule : store.GetFaults()) faults.Add(rule);
}

Radio& Phone::GetRadio() {
  const std::lock_guard lock(radioMutex);
  if (!radio) radio = MakeRadio(store.Use(SelectBluetooth).provider, *this);
  return *radio;
}

void Handset::Init(const fs::path& folder, const nlohmann::json& json) {
  Init(folder, json, [](const fs::path&) {});
}

void Handset::Init(const fs::path& folder, const nlohmann::json& json,
                   const std::function<void(const fs::path& made)>& complete) {
  const Description description = ParseDescription(json);
  // Without a slash at the end, whose parent would be the folder itself.
  const fs::path named = fs::absolute(folder).lexically_normal();
  const fs::path target = named.has_filename() ? named : named.parent_path();
  try {
    CheckTarget(target);
    const Scaffold scaffold(target);
    const fs::path& made = scaffold.GetFolder();
    fs::permissions(made, fs::perms::owner_all | fs::perms::group_read | fs::perms::group_exec |
                              fs::perms::others_read | fs::perms::others_exec);
    fs::create_directory(made / kFiles);
    Store::Create(made / kDatabase, description);
    complete(made);
    MakeFiles(FileRoot(made / kFiles), description.files);
    SyncFiles(made / kFiles);
    Sync(made / kDatabase);
    Sync(made);
    fs::rename(made, target);
    Sync(target.parent_path());
  } catch (const fs::filesystem_error& error) {
    throw StoreError(fmt::format("{}: {}; choose another place", target.string(), error.code().message()));
  }
}

void Handset::InitFromFile(const fs::path& folder, const fs::path& description) {
  const nlohmann::json json = ReadDescriptionFile(description);
  try {
    Init(folder, json);
  } catch (const DescriptionError& error) {
    throw DescriptionError(error.GetPointer(), error.GetExpected(), error.GetFound(), description.string());
  }
}

std::unique_ptr<Handset> Handset::Open(const fs::path& folder) {
  if (!fs::is_directory(folder / kFiles) && fs::exists(folder / kDatabase)) {
    throw StoreError((folder / kFiles).string() +
                     ": the phone's files are not there; restore a copy or make the folder");
  }
  return std::unique_ptr<Handset>(new Handset(std::make_unique<Phone>(folder)));
}

Handset::Handset(std::unique_ptr<Phone> phone) : m_phone(std::move(phone)) {}

Handset::~Handset() = default;

nlohmann::json Handset::Describe() const { return PrintDescription(m_phone->store.GetDescription()); }

Faults& Handset::GetFaults() { return m_phone->faults; }
Ledger& Handset::GetLedger() { return *m_phone->ledger; }
MessageBoxes& Handset::GetMessageBoxes() { return m_phone->boxes; }
Clock& Handset::GetClock() { return m_phone->clock; }
Store& Handset::GetStore() { return m_phone->store; }
const fs::path& Handset::GetFilesRoot() const { return m_phone->filesRoot; }

void Handset::SetThreads(Threads mode) { m_phone->threads.SetMode(mode); }

void Handset::UseRadio(RadioProvider provider) {
  const std::lock_guard lock(m_phone->radioMutex);
  m_phone->radio = MakeRadio(provider, *m_phone);
}

void Handset::UseRadio(std::unique_ptr<Radio> radio) {
  const std::lock_guard lock(m_phone->radioMutex);
  m_phone->radio = std::move(radio);
}

ce::SOCKET Handset::AdoptSocket(int descriptor) {
  try {
    return m_phone->handles.Add(std::make_shared<HostSocket>(UniqueFd(descriptor)), "adopted");
  } catch (const Failure&) {
    throw std::system_error(errno, std::generic_category(), "a socket that the phone cannot take");
  }
}

Handset& Handset::Current() {
  if (t_current == nullptr) {
    std::fputs("a ce:: call was made on a thread that has no current phone\n", stderr);
    std::abort();
  }
  return *t_current;
}

Handset* Handset::CurrentOrNull() { return t_current; }

CurrentPhone::CurrentPhone(Handset& phone) : m_previous(std::exchange(t_current, &phone)) {}

CurrentPhone::~CurrentPhone() { t_current = m_previous; }

}  // namespace handset
