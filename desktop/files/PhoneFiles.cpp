#include "desktop/files/PhoneFiles.h"

#include <fmt/format.h>
#include <iterator>

#include "desktop/Wire.h"

namespace brelix {
namespace {

constexpr size_t kMostEntries = 1'000'000;  // of one folder; more than a phone's storage has room for

std::string_view AsText(ByteView bytes) { return {reinterpret_cast<const char*>(bytes.data()), bytes.size()}; }

void NeedSuccess(const Result& result, const std::string& shown) {
  if (result.code != 0)
    throw EntryFailure(Exit::kPhoneError, fmt::format("{}: {}", shown, PhoneErrorText(result.code)));
}

bool NothingMatches(uint32_t code) { return code == wire::kNoMoreFiles || code == wire::kFileNotFound; }

}  // namespace

PhoneFiles::~PhoneFiles() {
  try {
    if (usable_) Close();
  } catch (const Failure&) {
    // The phone closes it itself before it opens anything else.
  }
}

Result PhoneFiles::Ask(uint16_t command, ByteView data) {
  try {
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

std::vector<FileEntry> PhoneFiles::List(const PhonePath& folder) {
  return Entries(folder.EverythingIn(), folder.ForPeople());
}

std::vector<FileEntry> PhoneFiles::Match(const PhonePath& pattern) {
  return Entries(pattern.Wire(), pattern.ForPeople());
}

std::vector<FileEntry> PhoneFiles::Entries(std::string_view pattern, const std::string& shown) {
  const Result opened = Ask(wire::kOpenListing, RequestFor(pattern));
  open_ = false;  // the request closed what was open
  if (NothingMatches(opened.code)) return {};
  NeedSuccess(opened, shown);
  open_ = true;
  std::vector<FileEntry> entries;
  for (;;) {
    const Result part = Ask(wire::kNextListing);
    if (part.code != wire::kNoMoreFiles) NeedSuccess(part, shown + ": the listing broke off");
    const size_t before = entries.size();
    std::vector<FileEntry> more = ParseFolderPart(AsText(part.data));
    // Each further part begins with the last entry of the part before, once more.
    const bool repeated = !entries.empty() && !more.empty() && more.front() == entries.back();
    std::move(more.begin() + (repeated ? 1 : 0), more.end(), std::back_inserter(entries));
    if (part.code == wire::kNoMoreFiles) return entries;
    if (entries.size() == before || entries.size() > kMostEntries)
      throw Failure(Exit::kProtocol, fmt::format("{}: the phone's listing does not end", shown));
  }
}

uint64_t PhoneFiles::Read(const PhonePath& path, std::optional<uint32_t> listed_size,
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
  if (!open_) return;
  open_ = false;
  NeedSuccess(Ask(wire::kCloseFile), "closing what was read");
}

}  // namespace brelix
