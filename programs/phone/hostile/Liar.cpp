#include "programs/phone/hostile/Liar.h"

#include <cstdio>
#include <fmt/format.h>

namespace brelix_phone::hostile {
namespace {

constexpr int kMissingInASession = 2;      // a desktop waits for each
constexpr std::size_t kPiece = 4 + 16364;  // result and bytes of a file, at most

bool BeginsASession(const Reply& reply) { return reply.Is(1, 247) || reply.Is(1, 1); }

// Lists of calls and messages: the document of one item.
bool IsOneOfMany(const Reply& reply) {
  return (reply.Is(5, 41) || reply.Is(6, 15)) && reply.Result() == 0 && reply.data.size() > 4;
}

bool EndsAList(const Reply& reply) {
  return (reply.Is(5, 41) && reply.Result() == 0xFFFFFFFFu) || (reply.Is(6, 15) && reply.Result() == 2);
}

}  // namespace

std::string Random::Noise(std::size_t size) {
  std::string noise(size, '\0');
  for (char& byte : noise) byte = static_cast<char>(m_engine());
  return noise;
}

Liar::Liar(std::uint64_t seed, std::function<void(const std::string&)> log) : m_seed(seed), m_log(std::move(log)) {}

// Each session has a temper of its own: how often it lies, and which half of the lies it knows. So the rare ones come
// up too, and some sessions get far before the first.
void Liar::BeginSession() {
  m_random = Random(m_seed * 1000003 + m_sessions++);
  m_memory = {};
  m_honest = std::size_t{1} << m_random.Below(7);
  Learn(FrameLies(), m_aboutFrames);
  Learn(ContentLies(), m_aboutContents);
}

void Liar::Learn(std::span<const Lie> lies, std::vector<const Lie*>& known) {
  known.clear();
  for (const Lie& lie : lies)
    if (m_random.OneIn(2)) known.insert(known.end(), lie.weight, &lie);
}

const Lie* Liar::OneThatFits(const std::vector<const Lie*>& known, const Reply& reply) {
  for (int tried = 0; tried < 16 && !known.empty(); ++tried) {
    const Lie* lie = m_random.OneOf(known);
    if (lie->fits(reply, m_memory)) return lie;
  }
  return nullptr;
}

const Lie* Liar::Choose(const Reply& reply) {
  const std::size_t odds = BeginsASession(reply) ? 8 * m_honest : m_honest;
  if (!m_random.OneIn(odds)) return nullptr;
  const bool frame = m_random.OneIn(3);
  const Lie* lie = frame ? nullptr : OneThatFits(m_aboutContents, reply);
  return lie != nullptr ? lie : OneThatFits(m_aboutFrames, reply);
}

// What an earlier lie has made longer. True when it did so to this reply.
bool Liar::GoOn(Reply& reply) {
  if (IsOneOfMany(reply)) m_memory.document = reply.data;
  if (m_memory.endless && EndsAList(reply) && !m_memory.document.empty()) {
    reply.data = m_memory.document;
    return true;
  }
  const bool endOfFile = reply.Is(1, 59) && reply.Result() == 0 && reply.data.size() < kPiece;
  if (!endOfFile || m_memory.moreOfFile == 0) return false;
  --m_memory.moreOfFile;
  reply.data += m_random.Noise(kPiece - reply.data.size());
  return true;
}

std::vector<Act> Liar::Answer(std::span<const std::uint8_t> frame) {
  Reply reply = Reply::Of(frame);
  const Reply honest = reply;
  const bool goesOn = GoOn(reply);
  std::optional<Reply> held;
  std::swap(held, m_memory.held);
  Telling telling{reply, m_random, m_memory};
  if (const Lie* lie = goesOn ? nullptr : Choose(reply)) {
    m_log(fmt::format("{} in reply {}/{}", lie->name, honest.module, honest.command));
    lie->tell(telling);
  }
  if (telling.missing && ++m_memory.missing > kMissingInASession) {
    telling.missing = false;
    m_memory.held.reset();
  }
  if (!telling.missing && !telling.replaced) telling.acts.push_back({reply.Frame()});
  if (held) telling.acts.push_back({held->Frame()});
  m_memory.before = honest;
  return std::move(telling.acts);
}

Liar MakeLiar(std::uint64_t seed, bool verbose) {
  if (!verbose) return Liar(seed, [](const std::string&) {});
  return Liar(seed, [](const std::string& lie) { std::fprintf(stderr, "brelix-phone: lie: %s\n", lie.c_str()); });
}

}  // namespace brelix_phone::hostile
