// What is wrong with a connection to a phone, found step by step: the address, the way there, whether an agent answers,
// whether the session is free, what is still in the pipe, and how fast and how completely the agent serves.
#pragma once

#include <chrono>
#include <functional>
#include <string>

#include "desktop/Link.h"

namespace brelix::doctor {

struct Finding {
  enum class State {
    kGood,
    kRemark,  // it works; worth knowing all the same
    kBad,     // what comes behind it was not looked at
  };
  const char* step;  // "address", "connection", "agent", "session", "pipe", "clock", "speed", "services"
  State state;
  std::string text;    // what was found
  std::string advice;  // what to do about it; empty where there is nothing to do
  Exit exit;           // kOk unless it is bad or a remark
};

struct Examination {
  std::string address;
  BluetoothOptions bluetooth;
  std::chrono::milliseconds timeout{10000};
  CancelFd cancel = -1;
  bool read_only = false;
  std::function<void(const Finding&)> tell;
};

// Tells of every step as it is done, and ends behind the first bad one. Returns the exit code of that one; kPartial
// where there were remarks only. Throws when it is interrupted.
Exit Examine(const Examination& examination);

// What the beginning of another program's greeting says of it; empty for nothing that is known.
std::string ProtocolOf(ByteView greeting);

}  // namespace brelix::doctor
