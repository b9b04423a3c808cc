// One session with a phone: handshake, open, requests one at a time, close. A session that was opened is closed again
// whatever happens in between, as long as the link lives.
#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <set>
#include <string>

#include "desktop/Link.h"
#include "desktop/Trace.h"
#include "desktop/Wire.h"

namespace brelix {

struct Reply {
  enum class Kind {
    kAnswer,   // what the module wrote
    kRefused,  // module and command echoed without data: the session is not allowed
    kDefault,  // module 1, command 0: nobody serves this, or not while the session is closed
  };
  Kind kind;
  Frame frame;
};

// An answer that has a result: 0, a code of the phone, or FFFFFFFF.
struct Result {
  uint32_t code = 0;
  Bytes data;  // behind the result; some answers carry data together with a code
};

class Session {
 public:
  struct Options {
    std::chrono::milliseconds timeout{10000};  // for each answer
    Trace* trace = nullptr;
    bool read_only = false;         // refuse, as a usage failure, to send what may change the phone
    size_t window = wire::kWindow;  // requests of a stream under way at a time; 1 to ask one by one
    std::function<void(const std::string&)> warn = [](const std::string&) {};
  };

  Session(std::unique_ptr<Link> link, Options options);
  ~Session();
  Session(const Session&) = delete;
  Session& operator=(const Session&) = delete;

  // An agent keeps bytes of the desktop before us and looks at one request per arrival of bytes. The handshake
  // therefore skips answers that are not ours and nudges the agent on until its own comes.
  void Handshake();
  // Any well-formed reply to this very request.
  Reply Ask(uint16_t module, uint16_t command, ByteView data = {});
  // An answer with a result, whatever that is. A refused or default reply, or one too short for a result, is a failure.
  Result AskResult(uint16_t module, uint16_t command, ByteView data = {});
  // The data behind a result of 0. Anything else is a failure.
  Bytes Answer(uint16_t module, uint16_t command, ByteView data = {});
  // Never throws; gives up at once on a further interrupt. Called by the destructor when nobody did.
  void Close();

  const std::string& address() const { return link_->address(); }
  // Whether streams send requests ahead of their answers.
  bool AsksAhead() const { return options_.window > 1; }

 private:
  friend class Stream;

  [[noreturn]] void Fail(Exit code, const std::string& what) const;
  [[noreturn]] void FailLate();
  [[noreturn]] void FailNumber(uint16_t came, uint16_t expected) const;
  void NeedPermission(uint16_t module, uint16_t command) const;
  uint16_t Queue(Bytes& frame);
  size_t QueueFiller(size_t bytes);
  size_t DropFiller(size_t bytes);
  void Flush(Deadline deadline);
  uint16_t Send(uint16_t module, uint16_t command, ByteView data, Deadline deadline);
  void Urge(int strangers);
  Deadline Patience(Deadline deadline, std::chrono::milliseconds timeout) const;
  bool Transfer(Deadline deadline);
  void WriteSome();
  std::optional<Frame> NextFrame(Deadline until);
  std::optional<Frame> Received(std::optional<Frame> frame);
  Frame AwaitHandshake(Deadline deadline);
  Frame AwaitNumber(uint16_t number, std::chrono::milliseconds timeout);
  Reply Exchange(uint16_t module, uint16_t command, ByteView data, std::chrono::milliseconds timeout);
  Reply Classify(uint16_t module, uint16_t command, Frame frame) const;
  Result ResultOf(uint16_t module, uint16_t command, Reply reply) const;
  void TakeLeave();

  std::unique_ptr<Link> link_;
  Options options_;
  PacketNumbers numbers_;
  ReplyReader reader_;
  Bytes out_, in_;         // not written yet; just arrived
  size_t filler_run_ = 0;  // bytes of filler behind the last request
  Deadline heard_{};       // when bytes arrived last
  int interrupts_ = 0;
  bool needs_filler_;            // see Link::NeedsFiller
  bool streams_ = false;         // a stream has the word
  std::set<uint16_t> given_up_;  // numbers whose answers may still come and are not wanted any more
  bool allowed_ = false;
  bool opened_ = false;
  bool exited_ = false;
  bool alive_ = true;
};

}  // namespace brelix
