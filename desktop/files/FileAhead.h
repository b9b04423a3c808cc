// Files that will be read one after another: their bytes are asked for ahead, and the next files behind them. The agent
// has one handle, which the request for the next file closes; how many pieces a file has is therefore taken from its
// listed size, and a file that turns out longer has to be read once more.
#pragma once

#include <deque>
#include <functional>
#include <memory>
#include <optional>

#include "desktop/Stream.h"
#include "desktop/files/PhonePath.h"

namespace brelix {

class FileAhead {
 public:
  explicit FileAhead(Session& session) : session_(session) {}

  // This file will be read, after those announced before.
  void Announce(const PhonePath& path, uint32_t size);
  // Whether the file is among those announced. Those before it are passed over.
  bool MoveTo(const PhonePath& path);

  struct Outcome {
    uint64_t count = 0;   // bytes handed out
    bool whole = false;   // false: there are more
    uint64_t digest = 0;  // of these bytes, see DigestOf
  };
  // The file that MoveTo found. Throws an EntryFailure for what concerns it alone, also what the sink throws.
  Outcome Read(const std::function<void(ByteView)>& sink);
  // What is under way is taken in and thrown away; asking begins anew with the next file. Afterwards the session is
  // free for others.
  void Stop();
  // Whether a file is open on the phone, as far as is known.
  bool open() const { return open_; }

  // Tells files apart that come in pieces of the same sizes, not more.
  static uint64_t DigestOf(ByteView piece, uint64_t before);
  static constexpr uint64_t kNoBytes = 0;

 private:
  struct File {
    PhonePath path;
    uint32_t size;
    uint64_t asked = 0;       // requests: opening it, then its pieces
    uint64_t answered = 0;    // pieces
    uint64_t count = 0;       // bytes that came
    std::deque<Bytes> bytes;  // that were not handed out
    bool over = false, whole = false;
    std::optional<EntryFailure> failure{};

    uint64_t Pieces() const;
  };
  bool AskMore();
  void Open(const std::shared_ptr<File>& file);
  void AskPiece(const std::shared_ptr<File>& file);
  static void TakePiece(File& file, Result piece);

  Session& session_;
  std::deque<std::shared_ptr<File>> files_;  // the one to be read first
  std::optional<Stream> stream_;
  bool open_ = false;
};

}  // namespace brelix
