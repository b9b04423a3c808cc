// The byte stream to a phone. Nothing waits without a deadline, and a wait ends early when the user interrupts.
#pragma once

#include <memory>
#include <string>

#include "desktop/Failure.h"
#include "desktop/FrameCodec.h"
#include "desktop/Waiting.h"

namespace brelix {

class Link {
 public:
  virtual ~Link() = default;
  Link(const Link&) = delete;
  Link& operator=(const Link&) = delete;

  // Appends to `in` what has arrived and takes from the front of `out` what could be written. Waits until either was
  // possible: false when the deadline passed first. A link that ended is a failure.
  bool Transfer(Bytes& out, Bytes& in, Deadline deadline);
  // One direction only: whether bytes were appended before the deadline; all of the bytes, or a failure.
  bool Read(Bytes& into, Deadline deadline);
  void Write(Bytes bytes, Deadline deadline);
  // Takes from the front of `out` what can be written without waiting; false when that is nothing.
  bool WriteSome(Bytes& out);
  // Ends the stream from this side. May wait a bounded time for what runs at the other end.
  virtual void Close() = 0;
  // Whether the agent at the other end lives for this one session and is told to exit after it.
  virtual bool OneSession() const { return false; }
  // Whether that agent looks for requests only when bytes have arrived, and sleeps when none have: requests ahead of
  // their answers are then followed by filler (Stream.h).
  virtual bool NeedsFiller() const { return true; }

  const std::string& address() const { return address_; }

 protected:
  Link(std::string address, CancelFd cancel) : address_(std::move(address)), cancel_(cancel) {}
  [[noreturn]] void Fail(Exit code, const std::string& what) const;
  // The other end is gone; says so as precisely as the kind of link can.
  [[noreturn]] virtual void Lost(const std::string& how);
  // True when ready, false when the deadline passed.
  bool Wait(int fd, short events, Deadline deadline);

  int read_fd_ = -1;
  int write_fd_ = -1;
  bool heard_ = false;  // anything was ever received

 private:
  bool ReadSome(Bytes& in, bool hung_up);

  std::string address_;
  CancelFd cancel_;
};

// For Bluetooth alone.
struct BluetoothOptions {
  std::string adapter;    // of this computer: "hci1" or its address; empty for any
  bool insecure = false;  // without asking for a pairing
};

// Addresses: tcp:HOST:PORT (an IPv6 address in brackets), unix:PATH, exec:COMMAND (run by the shell, its standard input
// and output are the stream), bluetooth:ADDRESS[/CHANNEL].
std::unique_ptr<Link> Connect(const std::string& address, Deadline deadline, CancelFd cancel,
                              const BluetoothOptions& bluetooth = {});
std::unique_ptr<Link> ConnectTcp(const std::string& address, Deadline deadline, CancelFd cancel);
std::unique_ptr<Link> ConnectUnix(const std::string& address, Deadline deadline, CancelFd cancel);
std::unique_ptr<Link> ConnectExec(const std::string& address, CancelFd cancel);
std::unique_ptr<Link> ConnectBluetooth(const std::string& address, Deadline deadline, CancelFd cancel,
                                       const BluetoothOptions& options);

}  // namespace brelix
