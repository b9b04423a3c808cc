#include "tests/desktop/ModelAgent.h"

#include <poll.h>
#include <sys/socket.h>
#include <tuple>
#include <unistd.h>
#include <utility>

#include "tests/desktop/LoopbackListener.h"

namespace brelix::test {
namespace {

constexpr size_t kBuffer = 16384;
constexpr int kPatience = 30000;  // ms
constexpr int kQuiet = 10;        // likewise
constexpr int kGone = 3000;       // likewise; what was not read may hide that the desktop has left

std::string Two(size_t value) { return {static_cast<char>(value >> 8), static_cast<char>(value)}; }

}  // namespace

ModelAgent::ModelAgent(Answer answer) : answer_(std::move(answer)) {
  std::tie(listener_, port_) = ListenOnLoopback();
  thread_ = std::thread([this] { Serve(); });
}

ModelAgent::~ModelAgent() { Finish(); }

const ModelAgent::Seen& ModelAgent::Finish() {
  if (thread_.joinable()) {
    shutdown(listener_, SHUT_RDWR);
    thread_.join();
    close(listener_);
  }
  return seen_;
}

std::string ModelAgent::Reply(const Frame& request, const std::string& data) {
  return Reply(request, data, request.module, request.number);
}

std::string ModelAgent::Reply(const Frame& request, const std::string& data, uint16_t module, uint16_t number) {
  return "XXXX" + Two(module) + Two(request.command + 1) + Two((data.size() + 4) & 0xFFFF) + std::string(4, '\0') +
         data + Two(number) + "ZZZZ";
}

// The frame in front; what is dropped before it is garbage.
bool ModelAgent::Cut(Frame& request) {
  if (held_.size() < 16) return false;
  const size_t start = held_.find("XXXX");
  if (start == held_.npos) {
    held_.erase(0, held_.size() - 4);
    return false;
  }
  if (start + 5 <= held_.size()) held_.erase(0, start);
  const size_t end = held_.find("ZZZZ", 4);
  if (end == held_.npos) return false;
  const auto number = [&](size_t at) {
    return static_cast<uint16_t>(static_cast<uint8_t>(held_[at]) << 8 | static_cast<uint8_t>(held_[at + 1]));
  };
  request = {number(4), number(6), number(8), number(end - 2), Bytes(held_.begin() + 10, held_.begin() + end - 2)};
  held_.erase(0, end + 4);
  return true;
}

void ModelAgent::Send(int peer, const std::string& answer) const {
  for (size_t sent = 0; sent < answer.size();) {
    const ssize_t some =
        send(peer, answer.data() + sent, std::min(answer.size() - sent, at_a_time_.load()), MSG_NOSIGNAL);
    if (some <= 0) break;
    sent += static_cast<size_t>(some);
    std::this_thread::sleep_for(pause_.load());
  }
}

void ModelAgent::Serve() {
  const int peer = accept4(listener_, nullptr, nullptr, SOCK_CLOEXEC);
  std::string late;
  for (std::string buffer(kBuffer, 0); peer >= 0 && !seen_.stuck;) {
    if (!reads_) {
      pollfd gone{peer, 0, 0};
      poll(&gone, 1, kGone);
      break;
    }
    pollfd polled{peer, POLLIN, 0};
    const int ready = poll(&polled, 1, late.empty() ? kPatience : kQuiet);
    if (ready == 0 && !late.empty()) {
      Send(peer, std::exchange(late, {}));
      seen_.rounds++;
      continue;
    }
    if (ready != 1) break;
    const ssize_t count = recv(peer, buffer.data(), kBuffer - held_.size(), 0);
    if (count <= 0) break;
    seen_.bytes += static_cast<size_t>(count);
    held_.append(buffer, 0, static_cast<size_t>(count));
    Frame request;
    if (Cut(request)) {
      seen_.requests.push_back(request);
      std::string answer = answer_(request);
      if (in_rounds_)
        late += answer;
      else
        Send(peer, answer);
    }
    seen_.stuck = held_.size() == kBuffer;
  }
  seen_.held = held_.size();
  if (peer >= 0) close(peer);
}

}  // namespace brelix::test
