#include "desktop/backup/FileDigest.h"

#include <array>
#include <cerrno>
#include <fcntl.h>
#include <unistd.h>

#include "desktop/Digest.h"
#include "desktop/backup/Descriptor.h"
#include "desktop/backup/FailAt.h"

namespace brelix::backup {

std::string DigestOfFile(const std::filesystem::path& file, CancelFd cancel) {
  const auto fail = [&] { FailAs(file, "cannot be read", errno); };
  const Descriptor opened(open(file.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
  if (opened.get() < 0) fail();
  Digest digest;
  std::array<uint8_t, 65536> piece;
  for (;;) {
    FailIfInterrupted(cancel);
    const ssize_t count = read(opened.get(), piece.data(), piece.size());
    if (count == 0) return digest.Text();
    if (count > 0)
      digest.Add({piece.data(), static_cast<size_t>(count)});
    else if (errno != EINTR)
      fail();
  }
}

}  // namespace brelix::backup
