// A phone whose file system root is full of ways out, and any path to open, to list and to write: what lies outside
// is neither read nor named nor changed, and no pipe is waited on.
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <sys/stat.h>

#include "handset/Handset.h"
#include "handset/Text.h"
#include "platform/Crt.h"
#include "platform/Files.h"
#include "platform/Kernel.h"

namespace {

namespace fs = std::filesystem;

constexpr char kSecret[] = "what nobody may read";
constexpr char16_t kSecretName[] = u"secret.txt";
constexpr int kMostRuns = 2000;  // before what was written becomes too much

class FuzzPhone {
 public:
  FuzzPhone() {
    std::string folder = (fs::temp_directory_path() / "brelix-fuzz-XXXXXX").string();
    if (mkdtemp(folder.data()) == nullptr) std::abort();
    m_folder = folder;
    handset::Handset::Init(m_folder / "phone", nlohmann::json::object());
    m_phone = handset::Handset::Open(m_folder / "phone");
    m_current.emplace(*m_phone);
    const fs::path root = m_phone->GetFilesRoot();
    fs::create_directory(Outside());
    std::ofstream(Outside() / "secret.txt") << kSecret;
    fs::create_directories(root / "in" / "deep");
    std::ofstream(root / "in" / "mine.txt") << "mine";
    fs::create_directory_symlink(Outside(), root / "out");
    fs::create_directory_symlink(Outside(), root / "in" / "out");
    fs::create_directory_symlink("..", root / "up");
    fs::create_symlink(Outside() / "secret.txt", root / "link");
    fs::create_symlink(Outside() / "new.txt", root / "nowhere");
    fs::create_hard_link(root / "in" / "mine.txt", root / "same");
    if (mkfifo((root / "pipe").c_str(), 0600) != 0) std::abort();
  }
  ~FuzzPhone() {
    m_current.reset();
    m_phone.reset();
    fs::remove_all(m_folder);
  }
  FuzzPhone(const FuzzPhone&) = delete;
  FuzzPhone& operator=(const FuzzPhone&) = delete;

  bool IsUsedUp() { return ++m_runs > kMostRuns; }

  void CheckOutside() const {
    std::ifstream file(Outside() / "secret.txt");
    const std::string text(std::istreambuf_iterator<char>(file), {});
    if (text != kSecret || std::distance(fs::directory_iterator(Outside()), {}) != 1) std::abort();
    if (std::distance(fs::directory_iterator(m_folder), {}) != 2) std::abort();
  }

 private:
  fs::path Outside() const { return m_folder / "outside"; }

  fs::path m_folder;
  std::unique_ptr<handset::Handset> m_phone;
  std::optional<handset::CurrentPhone> m_current;
  int m_runs = 0;
};

const FuzzPhone& Phone() {
  static std::unique_ptr<FuzzPhone> phone;
  if (phone == nullptr || phone->IsUsedUp()) {
    phone.reset();
    phone = std::make_unique<FuzzPhone>();
  }
  return *phone;
}

void Open(const char16_t* path) {
  const ce::HANDLE file =
      ce::CreateFileW(path, ce::GENERIC_READ, 0, nullptr, ce::OPEN_EXISTING, ce::FILE_ATTRIBUTE_NORMAL, ce::kNoHandle);
  if (file == ce::INVALID_HANDLE_VALUE) return;
  std::string text(sizeof kSecret, 0);
  ce::DWORD count = 0;
  if (ce::ReadFile(file, text.data(), static_cast<ce::DWORD>(text.size()), &count, nullptr) == 0) std::abort();
  if (text.starts_with(kSecret)) std::abort();
  if (ce::CloseHandle(file) == 0) std::abort();
}

void List(const char16_t* path) {
  ce::WIN32_FIND_DATAW entry{};
  const ce::HANDLE find =
      ce::FindFirstFileExW(path, ce::FindExInfoStandard, &entry, ce::FindExSearchNameMatch, nullptr, 0);
  if (find == ce::INVALID_HANDLE_VALUE) return;
  do {
    const std::u16string name = entry.cFileName;
    if (name == kSecretName || name == u"." || name == u".." || name.find_first_of(u"\\/") != name.npos) std::abort();
    if (name == u"out" || name == u"up" || name == u"link" || name == u"nowhere" || name == u"pipe") std::abort();
  } while (ce::FindNextFileW(find, &entry) != 0);
  if (ce::FindClose(find) == 0) std::abort();
}

}  // namespace

// The first byte: whether the path is also written to. The rest is the path in UTF-8.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  if (size == 0) return 0;
  const FuzzPhone& phone = Phone();
  const std::string text(reinterpret_cast<const char*>(bytes + 1), size - 1);
  if (const auto path = handset::FromUtf8(text, handset::Surrogates::kAccept)) {
    Open(path->c_str());
    List(path->c_str());
  }
  if (bytes[0] == 'w') {
    if (ce::FILE* const file = ce::fopen(text.c_str(), "a")) {
      ce::fputs("x", file);
      ce::fclose(file);
    }
  }
  phone.CheckOutside();
  return 0;
}
