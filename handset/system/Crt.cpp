#include "platform/Crt.h"

#include <array>
#include <cerrno>
#include <fcntl.h>
#include <string>

#include "handset/Enter.h"
#include "handset/Text.h"
#include "handset/net/UniqueFd.h"

using handset::Call;
using handset::Enter;
using handset::Failure;
using handset::Held;
using handset::Phone;
using handset::ThisPhone;

namespace {

constexpr ce::DWORD kEndOfFile = 0xFFFFFFFF;

struct OpenFile : handset::HandleObject {
  OpenFile(handset::UniqueFd opened, bool isText) : HandleObject(Held::kFile), fd(std::move(opened)), text(isText) {}

  const handset::UniqueFd fd;
  const bool text;
};

struct Mode {
  std::string_view letter;
  int flags;
};
constexpr std::array<Mode, 3> kModes = {
    {{"r", O_RDONLY}, {"w", O_WRONLY | O_CREAT | O_TRUNC}, {"a", O_WRONLY | O_CREAT | O_APPEND}}};

void WriteAll(int fd, std::string_view bytes) {
  while (!bytes.empty()) {
    const ssize_t written = write(fd, bytes.data(), bytes.size());
    if (written < 0 && errno == EINTR) continue;
    if (written < 0) throw Failure{kEndOfFile};
    bytes.remove_prefix(static_cast<std::size_t>(written));
  }
}

std::string WithCarriageReturns(std::string_view text) {
  std::string out;
  for (const char c : text) {
    if (c == '\n') out.push_back('\r');
    out.push_back(c);
  }
  return out;
}

}  // namespace

namespace ce {

FILE* fopen(const char* path, const char* mode) {
  Phone& phone = ThisPhone();
  return Enter<Call::fopen>(phone, [&]() -> FILE* {
    std::string_view wanted(mode);
    const bool binary = wanted.ends_with('b');
    if (binary || wanted.ends_with('t')) wanted.remove_suffix(1);
    for (const Mode& known : kModes) {
      if (known.letter != wanted) continue;
      const auto text = handset::FromUtf8(path, handset::Surrogates::kAccept);
      if (!text) return nullptr;
      handset::UniqueFd fd = phone.files.Open(*text, known.flags, handset::Sharing::kAll);
      const auto file = std::make_shared<OpenFile>(std::move(fd), !binary);
      return reinterpret_cast<FILE*>(std::uintptr_t{phone.handles.Add(file, path)});
    }
    return nullptr;
  });
}

INT fputs(const char* text, FILE* file) {
  Phone& phone = ThisPhone();
  return Enter<Call::fputs>(phone, [&]() -> INT {
    const auto open = phone.handles.Find<OpenFile>(reinterpret_cast<std::uintptr_t>(file));
    if (!open) throw Failure{kEndOfFile};
    WriteAll(open->fd.Get(), open->text ? WithCarriageReturns(text) : std::string(text));
    return 0;
  });
}

INT fclose(FILE* file) {
  Phone& phone = ThisPhone();
  const auto id = reinterpret_cast<std::uintptr_t>(file);
  const auto close = [&]() -> INT {
    const auto open = phone.handles.Take<OpenFile>(id);
    // What was written outlives the host's power.
    if (!open || fsync(open->fd.Get()) != 0) throw Failure{kEndOfFile};
    return 0;
  };
  // A stream is gone even when closing it failed.
  return Enter<Call::fclose>(phone, close, [&] { phone.handles.Take<OpenFile>(id); });
}

}  // namespace ce
