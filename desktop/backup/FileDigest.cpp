#include "desktop/backup/FileDigest.h"

#include <array>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <fmt/format.h>
#include <unistd.h>

#include "desktop/Digest.h"
#include "desktop/Failure.h"

namespace brelix::backup {

std::string DigestOfFile(const std::filesystem::path& file) {
  const auto fail = [&](int error) {
    throw Failure(Exit::kLocalFile, fmt::format("{}: cannot be read: {}", file.string(), std::strerror(error)));
  };
  const int fd = open(file.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC);
  if (fd < 0) fail(errno);
  Digest digest;
  std::array<uint8_t, 65536> piece;
  ssize_t count = 0;
  while ((count = read(fd, piece.data(), piece.size())) > 0 || (count < 0 && errno == EINTR))
    if (count > 0) digest.Add({piece.data(), static_cast<size_t>(count)});
  const int error = errno;
  close(fd);
  if (count < 0) fail(error);
  return digest.Text();
}

}  // namespace brelix::backup
