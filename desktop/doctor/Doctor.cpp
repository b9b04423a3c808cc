#include "desktop/doctor/Doctor.h"

#include <algorithm>
#include <array>
#include <fmt/format.h>
#include <vector>

#include "desktop/Client.h"
#include "desktop/Text.h"
#include "desktop/Wire.h"
#include "desktop/doctor/Probe.h"

namespace brelix::doctor {
namespace {

using std::chrono::milliseconds;
using State = Finding::State;

constexpr uint16_t kKnownVersion = 0x02B5;  // what every agent answers to open
constexpr milliseconds kSlow{500};          // an idle agent looks every 100 ms
constexpr int kTimed = 7;                   // requests
constexpr size_t kShown = 40;               // bytes of what is not understood

struct Greeting {
  std::string_view beginning;
  const char* protocol;
};

constexpr Greeting kGreetings[] = {{"SSH-", "SSH"},           {"HTTP/", "HTTP"},
                                   {"220 ", "FTP or SMTP"},   {"220-", "FTP or SMTP"},
                                   {"+OK", "POP3"},           {"* OK", "IMAP"},
                                   {"\xFF\xFB", "Telnet"},    {"\xFF\xFD", "Telnet"},
                                   {"\x15\x03", "TLS"},       {"RFB ", "VNC"},
                                   {"-ERR", "Redis or POP3"}, {"\r\nOK", "a modem"},
                                   {"\r\nERROR", "a modem"},  {"AT", "a modem's terminal"}};

// Why there is no connection, by the system's words.
struct Reason {
  std::string_view words;
  const char* advice;
};

constexpr Reason kReasons[] = {
    {"Connection refused", "nothing listens there: start the phone's agent, or correct the port or path"},
    {"not known", "correct the name of the host, or give its number"},
    {"name resolution", "the name server does not answer: give the host's number"},
    {"unreachable", "look at this computer's network and the way to the phone"},
    {"No route", "look at this computer's network and the way to the phone"},
    {"in time", "is the phone on and in reach, and does a firewall let the port through?"},
    {"No such file", "start what listens there, or correct the path"},
    {"Permission denied", "this user may not use it: look at the rights of the path"}};

struct Module {
  uint16_t number, command;
  const char* name;
};

// A harmless question of each.
constexpr Module kModules[] = {{wire::kContacts, wire::kItemCount, "contacts"},
                               {wire::kAgenda, wire::kItemCount, "agenda"},
                               {wire::kCallLog, wire::kCountCalls, "calls"},
                               {wire::kMessaging, wire::kListAccounts, "messages"}};

std::string Shown(const Bytes& bytes) {
  const std::string_view text(reinterpret_cast<const char*>(bytes.data()), std::min(bytes.size(), kShown));
  return fmt::format("\"{}\"{}", Printable(CleanUtf8(text)), bytes.size() > kShown ? "..." : "");
}

// "address: what" without the address, which the reader knows.
std::string Without(const std::string& address, std::string text) {
  if (text.starts_with(address + ": ")) text.erase(0, address.size() + 2);
  return text;
}

// A failure's text ends with what to do about it, in general.
std::pair<std::string, std::string> Divided(const std::string& text) {
  const size_t at = text.find("; ");
  if (at == text.npos) return {text, ""};
  return {text.substr(0, at), text.substr(at + 2)};
}

// Something better than the general advice, where the reason is a known one.
std::optional<std::string> AdviceFor(const std::string& why) {
  const auto row = std::find_if(std::begin(kReasons), std::end(kReasons),
                                [&](const Reason& reason) { return why.find(reason.words) != why.npos; });
  if (row == std::end(kReasons)) return std::nullopt;
  return row->advice;
}

std::string AnswersText(size_t count) { return fmt::format("{} answer{}", count, count == 1 ? "" : "s"); }

class Examiner {
 public:
  explicit Examiner(const Examination& what) : what_(what) {}

  Exit Run() {
    auto link = Reach();
    if (!link || !Answers(*link)) return bad_;
    Session session(std::move(link), {.timeout = what_.timeout,
                                      .read_only = what_.read_only,
                                      .warn = [this](const std::string&) { open_elsewhere_ = true; }});
    try {
      if (AskSession(session)) {
        Time(session);
        AskServices(session);
      }
    } catch (const Failure& failure) {
      if (failure.code() == Exit::kInterrupted) throw;
      Bad(step_, Without(what_.address, failure.what()), "try again; if it stays so, restart the phone's agent",
          failure.code());
    }
    return bad_ != Exit::kOk ? bad_ : remarked_;
  }

 private:
  std::unique_ptr<Link> Reach() {
    const Deadline begun = Clock::now();
    try {
      auto link = Connect(what_.address, begun + what_.timeout, what_.cancel, what_.bluetooth);
      Good("address", what_.address);
      const auto took = std::chrono::duration_cast<milliseconds>(Clock::now() - begun);
      Good("connection", fmt::format("there after {} ms", took.count()));
      return link;
    } catch (const Failure& failure) {
      const std::string text = Without(what_.address, failure.what());
      if (failure.code() == Exit::kUsage) {
        Bad("address", text, "brelix --help lists the forms", failure.code());
      } else if (failure.code() == Exit::kInterrupted) {
        throw;
      } else {
        Good("address", what_.address);
        const auto [why, advice] = Divided(text);
        Bad("connection", why, AdviceFor(why).value_or(advice), failure.code());
      }
      return nullptr;
    }
  }

  bool Answers(Link& link) {
    const Heard heard = Probe(link, Clock::now() + what_.timeout);
    if (!heard.answered) {
      TellWhoElse(heard);
      return false;
    }
    Good("agent", fmt::format("answers the handshake after {} ms", heard.took.count()));
    if (heard.strangers > 0)
      Remark("pipe",
             fmt::format("{} to requests of an earlier desktop {} still in it", AnswersText(heard.strangers),
                         heard.strangers == 1 ? "was" : "were"),
             "passed over; nothing to do", Exit::kPartial);
    else
      Good("pipe", "no old answers are in it");
    return true;
  }

  void TellWhoElse(const Heard& heard) {
    if (heard.echoed)
      return Bad("agent", "what is sent comes back as it is: an echo, or a terminal",
                 "correct the address or the command: no agent listens there", Exit::kProtocol);
    const Bytes& said = heard.unasked.empty() ? heard.first_garbage : heard.unasked;
    if (heard.strangers > 0)
      return Bad("agent", fmt::format("{} came, but none to the handshake", AnswersText(heard.strangers)),
                 "another desktop may be connected; end it, and restart the phone's agent if that does not help",
                 Exit::kProtocol);
    if (!said.empty()) {
      const std::string protocol = ProtocolOf(said);
      return Bad("agent",
                 fmt::format("something else answers{}: {}", protocol.empty() ? "" : ", by its words " + protocol,
                             Shown(said)),
                 "correct the address: no agent listens there", Exit::kProtocol);
    }
    if (!heard.ended.empty())
      return Bad("agent", Divided(Without(what_.address, heard.ended)).first,
                 heard.ended_as == Exit::kNoDevice ? "run the command by itself and read what it says"
                                                   : "what listens there is no agent, or is busy and sends others away",
                 heard.ended_as);
    Bad("agent", fmt::format("connected, but silent for {:g} s", static_cast<double>(what_.timeout.count()) / 1000),
        "a phone serves one desktop at a time: end any other one; else no agent listens there, or it hangs",
        Exit::kLinkLost);
  }

  bool AskSession(Session& session) {
    step_ = "session";
    session.Handshake();
    const Bytes opened = session.Answer(wire::kSystem, wire::kOpen);
    if (open_elsewhere_)
      Remark("session", "the phone says that a session is open already",
             "end the other desktop; if there is none, its session was cut off: this one goes on all the same",
             Exit::kRefused);
    else
      Good("session", what_.read_only ? "free and open now; nothing that changes the phone is sent (--read-only)"
                                      : "free, and open now");
    const uint16_t version = opened.size() < 2 ? 0 : Read16(opened, 0);
    if (version != kKnownVersion)
      Remark("version", fmt::format("the agent calls itself {:04X} instead of {:04X}", version, kKnownVersion),
             "it may be one that this program does not know", Exit::kPartial);
    return true;
  }

  void Time(Session& session) {
    step_ = "speed";
    std::vector<milliseconds> times;
    for (int i = 0; i < kTimed; i++) {
      const Deadline asked = Clock::now();
      session.Ask(wire::kSystem, wire::kSerialNumber);
      times.push_back(std::chrono::duration_cast<milliseconds>(Clock::now() - asked));
    }
    std::sort(times.begin(), times.end());
    const milliseconds usual = times[times.size() / 2];
    const std::string text = fmt::format("an answer takes {} ms, at most {} ms", usual.count(), times.back().count());
    if (usual > kSlow)
      Remark("speed", text, "the link is slow: go nearer to the phone, and take long work in pieces", Exit::kPartial);
    else
      Good("speed", text);
  }

  void AskServices(Session& session) {
    step_ = "services";
    std::string missing;
    for (const Module& module : kModules)
      if (session.Ask(module.number, module.command).kind != Reply::Kind::kAnswer)
        missing += (missing.empty() ? "" : ", ") + std::string(module.name);
    if (missing.empty())
      Good("services", "contacts, agenda, calls and messages are served");
    else
      Remark("services", "not served: " + missing, "the agent is one that does not have them", Exit::kPartial);
  }

  void Good(const char* step, std::string text) { what_.tell({step, State::kGood, std::move(text), "", Exit::kOk}); }

  void Remark(const char* step, std::string text, std::string advice, Exit exit) {
    if (remarked_ == Exit::kOk || exit == Exit::kRefused) remarked_ = exit;
    what_.tell({step, State::kRemark, std::move(text), std::move(advice), exit});
  }

  void Bad(const char* step, std::string text, std::string advice, Exit exit) {
    bad_ = exit;
    what_.tell({step, State::kBad, std::move(text), std::move(advice), exit});
  }

  const Examination& what_;
  const char* step_ = "session";
  bool open_elsewhere_ = false;
  Exit bad_ = Exit::kOk, remarked_ = Exit::kOk;
};

}  // namespace

std::string ProtocolOf(ByteView greeting) {
  const std::string_view text(reinterpret_cast<const char*>(greeting.data()), greeting.size());
  for (const Greeting& known : kGreetings)
    if (text.starts_with(known.beginning)) return known.protocol;
  return {};
}

Exit Examine(const Examination& examination) { return Examiner(examination).Run(); }

}  // namespace brelix::doctor
