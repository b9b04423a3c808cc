#include "desktop/files/FileAhead.h"

#include <algorithm>
#include <cstring>
#include <fmt/format.h>

#include "desktop/Wire.h"

namespace brelix {

// One piece more than the size fills: a short one, or an empty one behind the last full one.
uint64_t FileAhead::File::Pieces() const { return size / wire::kFileChunk + 1; }

uint64_t FileAhead::DigestOf(ByteView bytes, uint64_t before) {
  const auto mix = [&](uint64_t word) {
    before = (before ^ word) * 0x9E3779B97F4A7C15;
    before ^= before >> 32;
  };
  mix(bytes.size());
  for (; bytes.size() >= sizeof(uint64_t); bytes = bytes.subspan(sizeof(uint64_t))) {
    uint64_t word;
    std::memcpy(&word, bytes.data(), sizeof word);
    mix(word);
  }
  for (const uint8_t byte : bytes) mix(byte);
  return before;
}

void FileAhead::Announce(const PhonePath& path, uint32_t size) {
  files_.push_back(std::make_shared<File>(File{.path = path, .size = size, .bytes = {}}));
}

bool FileAhead::MoveTo(const PhonePath& path) {
  const auto found =
      std::find_if(files_.begin(), files_.end(), [&](const auto& file) { return file->path.Wire() == path.Wire(); });
  if (found == files_.end()) return false;
  std::for_each(files_.begin(), found, [](const auto& file) { file->over = true; });
  files_.erase(files_.begin(), found);
  return true;
}

FileAhead::Outcome FileAhead::Read(const std::function<void(ByteView)>& sink) {
  const std::shared_ptr<File> file = files_.front();
  Outcome outcome{.digest = kNoBytes};
  struct Leave {
    FileAhead& ahead;
    File& file;
    ~Leave() {
      file.over = true;
      file.bytes.clear();
      if (!ahead.files_.empty() && ahead.files_.front().get() == &file) ahead.files_.pop_front();
    }
  } leave{*this, *file};
  for (;;) {
    while (!file->bytes.empty()) {
      const Bytes piece = std::move(file->bytes.front());
      file->bytes.pop_front();
      outcome.count += piece.size();
      outcome.digest = DigestOf(piece, outcome.digest);
      sink(piece);
    }
    if (file->over) break;
    try {
      if (!AskMore()) stream_->TakeOne();
    } catch (const Failure&) {
      Stop();
      throw;
    }
  }
  if (file->failure) throw EntryFailure(*file->failure);
  outcome.whole = file->whole;
  return outcome;
}

// Asks for the next of what is announced; false when all of it is asked for.
bool FileAhead::AskMore() {
  if (!stream_) stream_.emplace(session_);
  const auto next = std::find_if(files_.begin(), files_.end(),
                                 [](const auto& file) { return !file->over && file->asked <= file->Pieces(); });
  if (next == files_.end()) return false;
  const std::shared_ptr<File> file = *next;
  if (file->asked == 0)
    Open(file);
  else
    AskPiece(file);
  return true;
}

void FileAhead::Open(const std::shared_ptr<File>& file) {
  file->asked++;
  try {
    stream_->Ask(
        wire::kSystem, wire::kOpenFile, RequestFor(file->path.Wire()),
        [this, file](const Result& opened) {
          open_ = opened.code == 0;
          if (open_ || file->over) return;
          file->failure.emplace(Exit::kPhoneError,
                                fmt::format("{}: {}", file->path.ForPeople(), PhoneErrorText(opened.code)));
          file->over = true;
        },
        wire::kResultSize);
  } catch (const EntryFailure& failure) {
    file->failure = failure;
    file->over = true;
  }
}

void FileAhead::AskPiece(const std::shared_ptr<File>& file) {
  const uint64_t before = (file->asked - 1) * wire::kFileChunk;
  const size_t expected = std::min<uint64_t>(wire::kFileChunk, file->size - std::min<uint64_t>(before, file->size));
  file->asked++;
  stream_->Ask(
      wire::kSystem, wire::kReadFile, {}, [file](Result piece) { TakePiece(*file, std::move(piece)); },
      wire::kResultSize + expected);
}

void FileAhead::TakePiece(File& file, Result piece) {
  if (file.over) return;
  if (piece.code != 0) {
    file.failure.emplace(Exit::kPhoneError, fmt::format("{}: reading at byte {}: {}", file.path.ForPeople(), file.count,
                                                        PhoneErrorText(piece.code)));
    file.over = true;
    return;
  }
  const size_t count = piece.data.size();
  file.count += count;
  const bool ended = count == 0 || (count < wire::kFileChunk && static_cast<uint32_t>(file.count) == file.size);
  if (count > 0) file.bytes.push_back(std::move(piece.data));
  file.whole = ended;
  file.over = ended || ++file.answered == file.Pieces();
}

void FileAhead::Stop() {
  stream_.reset();
  for (const auto& file : files_)
    if (file->asked > 0) *file = File{.path = file->path, .size = file->size, .bytes = {}};
}

}  // namespace brelix
