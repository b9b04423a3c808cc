// A phone that answers a desktop's questions about files and its registry with anything. A tree that is pulled from it
// stays in its target folder.
//
// The first byte of an input: 0 pulls a tree, everything else exports the registry. The rest are answers, parted by
// bytes FE: each a byte for its result (0, 2, 18 and 234 stand for themselves, FF for "refused") and its data.
#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <signal.h>
#include <string>
#include <sys/socket.h>
#include <thread>
#include <unistd.h>

#include "desktop/files/LocalName.h"
#include "desktop/files/Pull.h"
#include "desktop/registry/RegText.h"
#include "desktop/registry/ValueText.h"

namespace {

namespace fs = std::filesystem;
using brelix::Bytes;
using brelix::ByteView;

// Answers each request with the next answer of the input, and hangs up at its end.
void ServePhone(int socket, ByteView input) {
  Bytes request(20000);
  std::size_t held = 0;
  while (!input.empty()) {
    const ssize_t count = recv(socket, request.data() + held, request.size() - held, 0);
    if (count <= 0) break;
    held += static_cast<std::size_t>(count);
    if (held < 16 || request[held - 1] != 'Z') continue;
    const ByteView answer(input.begin(), std::find(input.begin(), input.end(), 0xFE));
    input = input.subspan(std::min(answer.size() + 1, input.size()));
    const std::size_t size = answer.size() + 3;  // with a result of four bytes in place of one
    const std::uint8_t code = answer.empty() ? 0 : answer[0];
    const std::uint8_t high = code == 0xFF ? 0xFF : 0;
    Bytes frame = {'X', 'X', 'X', 'X', request[4], request[5], request[6], static_cast<std::uint8_t>(request[7] + 1)};
    frame.insert(frame.end(), {static_cast<std::uint8_t>(size >> 8), static_cast<std::uint8_t>(size)});
    frame.insert(frame.end(), {high, high, high, code});
    if (!answer.empty()) frame.insert(frame.end(), answer.begin() + 1, answer.end());
    frame.insert(frame.end(), {request[held - 6], request[held - 5], 'Z', 'Z', 'Z', 'Z'});
    send(socket, frame.data(), frame.size(), MSG_NOSIGNAL);
    held = 0;
  }
  shutdown(socket, SHUT_RDWR);
}

class FuzzLink : public brelix::Link {
 public:
  explicit FuzzLink(int socket) : Link("fuzz", -1) { read_fd_ = write_fd_ = socket; }
  ~FuzzLink() override { close(read_fd_); }
  void Close() override { shutdown(read_fd_, SHUT_RDWR); }
};

// In memory where there is such a place, since pulled files are brought to the disk.
struct Scratch {
  Scratch() {
    std::string name = fs::exists("/dev/shm") ? "/dev/shm" : fs::temp_directory_path().string();
    name += "/brelix-fuzz-XXXXXX";
    if (mkdtemp(name.data()) == nullptr) std::abort();
    path = name;
  }
  ~Scratch() { fs::remove_all(path); }
  fs::path path;
};

void PullTree(brelix::Session& session) {
  static const Scratch scratch;
  const fs::path target = scratch.path / "target";
  try {
    brelix::PhoneFiles files(session);
    const brelix::Tree tree = brelix::WalkTree(files, brelix::PhonePath());
    brelix::Pull(files, {.resume = true}, {}).Folder(tree, std::nullopt, target);
  } catch (const brelix::Failure&) {
  }
  for (const auto& entry : fs::directory_iterator(scratch.path))
    if (entry.path() != target) std::abort();
  fs::remove_all(target);
}

void ExportRegistry(brelix::Session& session) {
  try {
    brelix::PhoneRegistry registry(session);
    brelix::Problems problems;
    brelix::WalkRegistry(registry, brelix::KeyPath(), [&](const brelix::KeyContents& key) {
      brelix::RegText(key, brelix::RegEncoding::kUtf16, problems);
      brelix::RegText(key, brelix::RegEncoding::kUtf8, problems);
      for (const brelix::RegistryValue& value : key.values) brelix::DataText(value);
    });
  } catch (const brelix::Failure&) {
  }
}

void ReadDocument(ByteView bytes) {
  try {
    const std::string_view text(reinterpret_cast<const char*>(bytes.data()), bytes.size());
    for (const brelix::FileEntry& entry : brelix::ParseFolderPart(text)) {
      if (!brelix::IsName(entry.name)) continue;
      const fs::path local = brelix::LocalName(entry.name);
      if (local.is_absolute()) std::abort();
      for (const fs::path& piece : local)
        if (piece.empty() || piece == "." || piece == ".." || piece.native().size() > 255) std::abort();
    }
  } catch (const brelix::Failure&) {
  }
}

void TalkToPhone(ByteView input, void (*work)(brelix::Session&)) {
  int sockets[2];
  if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, sockets) != 0) std::abort();
  std::thread phone(ServePhone, sockets[1], input);
  {
    brelix::Session session(std::make_unique<FuzzLink>(sockets[0]), {});
    work(session);
  }
  phone.join();
  close(sockets[1]);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  if (size < 2) return 0;
  signal(SIGPIPE, SIG_IGN);  // as in brelix
  const ByteView rest(bytes + 1, size - 1);
  if (bytes[0] > 1)
    ReadDocument(rest);
  else
    TalkToPhone(rest, bytes[0] == 0 ? PullTree : ExportRegistry);
  return 0;
}
