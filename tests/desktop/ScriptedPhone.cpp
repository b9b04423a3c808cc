#include "tests/desktop/ScriptedPhone.h"

#include <poll.h>
#include <sstream>
#include <sys/socket.h>
#include <tuple>
#include <unistd.h>

#include "tests/desktop/LoopbackListener.h"

namespace brelix::test {
namespace {

constexpr int kPatience = 20000;  // ms; a desktop that keeps us waiting longer is a failed test

std::string Two(size_t value) { return {static_cast<char>(value >> 8), static_cast<char>(value)}; }

std::string FromHex(const std::string& digits) {
  std::string out;
  for (size_t at = 0; at + 1 < digits.size(); at += 2)
    out += static_cast<char>(std::stoi(digits.substr(at, 2), nullptr, 16));
  return out;
}

// "1/247" as the wire has it.
std::string ModuleAndCommand(const std::string& word) {
  const size_t slash = word.find('/');
  return Two(std::stoul(word.substr(0, slash))) + Two(std::stoul(word.substr(slash + 1)));
}

}  // namespace

ScriptedPhone::ScriptedPhone(const std::string& script, std::map<std::string, std::string> texts,
                             std::function<void()> act)
    : texts_(std::move(texts)), act_(std::move(act)) {
  std::istringstream lines(script);
  for (Step step; std::getline(lines, step.line); step = {}) {
    std::istringstream words(step.line);
    words >> step.verb;
    for (std::string word; words >> word;) step.words.push_back(word);
    steps_.push_back(step);
  }
  std::tie(listener_, port_) = ListenOnLoopback();
  thread_ = std::thread([this] { Serve(); });
}

ScriptedPhone::~ScriptedPhone() { Finish(); }

std::string ScriptedPhone::Address() const { return "tcp:127.0.0.1:" + std::to_string(port_); }

std::string ScriptedPhone::Finish() {
  if (thread_.joinable()) {
    shutdown(listener_, SHUT_RDWR);
    thread_.join();
    close(listener_);
  }
  return error_;
}

void ScriptedPhone::Serve() {
  peer_ = accept4(listener_, nullptr, nullptr, SOCK_CLOEXEC);
  if (peer_ < 0) {
    error_ = "nobody connected";
    return;
  }
  for (const Step& step : steps_) {
    if (Run(step)) continue;
    error_ = "did not happen: " + step.line;
    break;
  }
  close(peer_);
}

bool ScriptedPhone::Run(const Step& step) {
  if (step.verb == "expect") return Expect(step);
  if (step.verb == "reply") return Send(Reply(step, 0, -1, number_));
  if (step.verb == "lying") return Send(Reply(step, 1, std::stoi(step.words[0]), number_));
  if (step.verb == "stranger") return Send(Reply(step, 0, -1, "\x11\x22"));
  if (step.verb == "again") return Send(Reply(step, 0, -1, number_before_));
  if (step.verb == "send") return Send(Data(step, 0));
  if (step.verb == "call") return act_(), true;
  if (step.verb == "end") return Ended();
  if (step.verb == "nudge") {
    const bool nudged = Fill(1) && held_[0] == '\0';
    held_.erase(0, 1);
    return nudged;
  }
  if (step.verb == "flood") {
    std::string some;
    while (some.size() < 65536) some += Data(step, 0);
    while (Send(some)) continue;
    return true;
  }
  return false;
}

bool ScriptedPhone::Fill(size_t bytes) {
  while (held_.size() < bytes) {
    pollfd polled{peer_, POLLIN, 0};
    char more[4096];
    if (poll(&polled, 1, kPatience) != 1) return false;
    const ssize_t count = recv(peer_, more, sizeof more, 0);
    if (count <= 0) return false;
    held_.append(more, count);
  }
  return true;
}

bool ScriptedPhone::Expect(const Step& step) {
  do {
    held_.erase(0, held_.find_first_not_of('\0'));
  } while (held_.empty() && Fill(1));
  if (!Fill(16)) return false;
  const std::string data = Data(step, 1);
  const std::string start = "XXXX" + ModuleAndCommand(step.words[0]) + Two(data.size()) + data;
  if (!Fill(start.size() + 6) || held_.substr(0, start.size()) != start) return false;
  number_before_ = number_;
  number_ = held_.substr(start.size(), 2);
  const bool ends = held_.substr(start.size() + 2, 4) == "ZZZZ";
  held_.erase(0, start.size() + 6);
  return ends;
}

bool ScriptedPhone::Ended() { return held_.empty() && !Fill(1) && held_.empty(); }

bool ScriptedPhone::Send(const std::string& bytes) {
  for (size_t sent = 0; sent < bytes.size();) {
    const ssize_t count = send(peer_, bytes.data() + sent, bytes.size() - sent, MSG_NOSIGNAL);
    if (count <= 0) return false;
    sent += count;
  }
  return true;
}

std::string ScriptedPhone::Data(const Step& step, size_t from) const {
  std::string out;
  for (size_t i = from; i < step.words.size(); i++)
    out += step.words[i][0] == '$' ? texts_.at(step.words[i].substr(1)) : FromHex(step.words[i]);
  return out;
}

std::string ScriptedPhone::Reply(const Step& step, size_t from, int length, const std::string& number) const {
  const std::string data = Data(step, from + 1);
  return "XXXX" + ModuleAndCommand(step.words[from]) + Two(length < 0 ? data.size() : length) + data + number + "ZZZZ";
}

}  // namespace brelix::test
