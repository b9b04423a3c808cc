#include "desktop/files/PhoneFiles.h"

#include <algorithm>
#include <fmt/format.h>

#include "desktop/Wire.h"

namespace brelix {
namespace {

std::string_view AsText(ByteView bytes) { return {reinterpret_cast<const char*>(bytes.data()), bytes.size()}; }

void NeedSuccess(const Result& result, const std::string& shown) {
  if (result.code != 0)
    throw EntryFailure(Exit::kPhoneError, fmt::format("{}: {}", shown, PhoneErrorText(result.code)));
}

}  // namespace

PhoneFiles::~PhoneFiles() {
  try {
    if (usable_) Close();
  } catch (const Failure&) {
    // The phone closes it itself before it opens anything else.
  }
}

void PhoneFiles::StopAhead() {
  ahead_.Stop();
  folders_.Stop();
}

Result PhoneFiles::Ask(uint16_t command, ByteView data) {
  try {
    StopAhead();
    return session_.AskResult(wire::kSystem, command, data);
  } catch (const Failure& failure) {
    usable_ = failure.code() == Exit::kInterrupted;
    throw;
  }
}

FileEntry PhoneFiles::Info(const PhonePath& path) {
  const Result result = Ask(wire::kFileInfo, RequestFor(path.Wire()));
  NeedSuccess(result, path.ForPeople());
  return ParseFileInfo(AsText(result.data));
}

bool PhoneFiles::AnnounceFolder(const PhonePath& folder, bool soon) {
  if (!session_.AsksAhead() || !(folders_.Knows(folder) || folders_.HasRoom(soon))) return false;
  folders_.Announce(folder, soon);
  return true;
}

std::vector<FileEntry> PhoneFiles::List(const PhonePath& folder) {
  if (!session_.AsksAhead()) return Entries(folder.EverythingIn(), folder.ForPeople());
  if (!folders_.Knows(folder)) folders_.Announce(folder, true);
  ahead_.Stop();
  open_ = true;
  try {
    return folders_.List(folder);
  } catch (const Failure& failure) {
    if (failure.code() == Exit::kLinkLost) usable_ = false;
    throw;
  }
}

std::vector<FileEntry> PhoneFiles::Match(const PhonePath& pattern) {
  return Entries(pattern.Wire(), pattern.ForPeople());
}

std::vector<FileEntry> PhoneFiles::Entries(std::string_view pattern, const std::string& shown) {
  ListedFolder listed(shown);
  const Result opened = Ask(wire::kOpenListing, RequestFor(pattern));
  open_ = false;  // the request closed what was open
  if (!listed.TakeOpened(opened)) return {};
  open_ = true;
  while (!listed.TakePart(Ask(wire::kNextListing))) continue;
  return std::move(listed.entries);
}

void PhoneFiles::Announce(const PhonePath& path, std::optional<uint32_t> listed_size) {
  if (listed_size && session_.AsksAhead()) ahead_.Announce(path, *listed_size);
}

uint64_t PhoneFiles::Read(const PhonePath& path, std::optional<uint32_t> listed_size,
                          const std::function<void(ByteView)>& sink) {
  folders_.Stop();
  return ahead_.MoveTo(path) ? ReadAnnounced(path, sink) : ReadAlone(path, listed_size, sink);
}

// A file that is longer than it was listed is read once more from its start, since the phone may have closed it for the
// next one. What was handed out must be what it begins with now.
uint64_t PhoneFiles::ReadAnnounced(const PhonePath& path, const std::function<void(ByteView)>& sink) {
  const FileAhead::Outcome begin = [&] {
    try {
      const auto outcome = ahead_.Read(sink);
      open_ = true;
      return outcome;
    } catch (const Failure& failure) {
      open_ = true;
      if (failure.code() == Exit::kLinkLost) usable_ = false;
      throw;
    }
  }();
  if (begin.whole) return begin.count;
  uint64_t seen = 0, digest = FileAhead::kNoBytes;
  const auto need_same = [&] {
    if (digest != begin.digest)
      throw EntryFailure(Exit::kProtocol, fmt::format("{}: was changed while it was read; not kept", path.ForPeople()));
  };
  const uint64_t count = ReadAlone(path, std::nullopt, [&](ByteView bytes) {
    const ByteView known = bytes.first(std::min<uint64_t>(bytes.size(), begin.count - seen));
    seen += known.size();
    if (!known.empty()) digest = FileAhead::DigestOf(known, digest);
    if (seen < begin.count || known.size() == bytes.size()) return;
    need_same();
    sink(bytes.subspan(known.size()));
  });
  if (seen < begin.count) digest = ~begin.digest;
  need_same();
  return count;
}

uint64_t PhoneFiles::ReadAlone(const PhonePath& path, std::optional<uint32_t> listed_size,
                               const std::function<void(ByteView)>& sink) {
  const Result opened = Ask(wire::kOpenFile, RequestFor(path.Wire()));
  open_ = opened.code == 0;
  NeedSuccess(opened, path.ForPeople());
  for (uint64_t count = 0;;) {
    const Result chunk = Ask(wire::kReadFile);
    NeedSuccess(chunk, fmt::format("{}: reading at byte {}", path.ForPeople(), count));
    if (chunk.data.empty()) return count;
    sink(chunk.data);
    count += chunk.data.size();
    if (chunk.data.size() < wire::kFileChunk && listed_size && static_cast<uint32_t>(count) == *listed_size)
      return count;
  }
}

void PhoneFiles::Close() {
  StopAhead();
  if (!open_) return;
  open_ = false;
  NeedSuccess(Ask(wire::kCloseFile), "closing what was read");
}

}  // namespace brelix
