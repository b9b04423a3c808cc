#include "tests/wire/Conversation.h"

#include <fstream>
#include <optional>
#include <sstream>
#include <stdexcept>

namespace test {
namespace {

// One line's words, read from the left.
class Line {
 public:
  explicit Line(const std::string& text) : m_text(text) {}

  // The next word; empty at the end or at a comment.
  std::string Word() {
    SkipBlanks();
    std::string word;
    while (m_at < m_text.size() && m_text[m_at] != ' ') word += m_text[m_at++];
    return word;
  }

  Bytes Data() {
    Bytes data;
    for (SkipBlanks(); m_at < m_text.size(); SkipBlanks()) {
      const Bytes piece = m_text[m_at] == '"' ? Quoted() : FromHex(Digits());
      for (unsigned long times = Times(); times > 0; --times) data.insert(data.end(), piece.begin(), piece.end());
    }
    return data;
  }

 private:
  void SkipBlanks() {
    while (m_at < m_text.size() && m_text[m_at] == ' ') ++m_at;
  }

  std::string Digits() {
    std::string digits;
    while (m_at < m_text.size() && m_text[m_at] != ' ' && m_text[m_at] != '*') digits += m_text[m_at++];
    return digits;
  }

  Bytes Quoted() {
    Bytes text;
    for (++m_at; m_at < m_text.size() && m_text[m_at] != '"'; ++m_at) {
      char c = m_text[m_at];
      if (c == '\\') {
        c = m_text.at(++m_at);
        c = c == 'n' ? '\n' : c == 'r' ? '\r' : c;
      }
      text.push_back(static_cast<std::uint8_t>(c));
    }
    if (m_at >= m_text.size()) throw std::runtime_error("text without a closing quote");
    ++m_at;
    return text;
  }

  unsigned long Times() {
    if (m_at >= m_text.size() || m_text[m_at] != '*') return 1;
    ++m_at;
    return std::stoul(Word());
  }

  const std::string& m_text;
  std::size_t m_at = 0;
};

Bytes ReadFrame(const std::string& head, Line& line) {
  if (head == "raw") return line.Data();
  const std::size_t slash = head.find('/');
  const bool isDefault = head == "default";
  if (!isDefault && slash == std::string::npos)
    throw std::runtime_error("expected MODULE/COMMAND, raw or default: " + head);
  const auto module = static_cast<std::uint16_t>(isDefault ? 1 : std::stoul(head));
  const auto command = static_cast<std::uint16_t>(isDefault ? 0 : std::stoul(head.substr(slash + 1)));
  const std::string number = line.Word();
  if (number.empty() || number[0] != '#') throw std::runtime_error("expected a packet number such as #0001: " + number);
  const auto packet = static_cast<std::uint16_t>(std::stoul(number.substr(1), nullptr, 16));
  Line rest = line;
  const std::string length = line.Word();
  if (!length.starts_with("length=")) return Frame(module, command, packet, rest.Data());
  return FrameWithLength(module, command, static_cast<std::uint16_t>(std::stoul(length.substr(7))), packet,
                         line.Data());
}

std::optional<Step> ReadStep(const std::string& text, int number) {
  Line line(text);
  const std::string verb = line.Word();
  const std::string object = line.Word();
  if (verb == "say") return Step{Step::Kind::kSay, ReadFrame(object, line), number};
  if (verb == "hear" && object == "end") return Step{Step::Kind::kHearEnd, {}, number};
  if (verb == "hear") return Step{Step::Kind::kHear, ReadFrame(object, line), number};
  if (verb == "hang" && object == "up") return Step{Step::Kind::kHangUp, {}, number};
  if (verb == "next" && object == "session") return Step{Step::Kind::kNextSession, {}, number};
  return std::nullopt;
}

std::string ReadPhone(std::istream& in, int& number) {
  std::string json;
  for (std::string text; std::getline(in, text);) {
    ++number;
    if (text == "end") return json;
    json += text + "\n";
  }
  throw std::runtime_error("phone without a line \"end\"");
}

}  // namespace

Conversation ReadConversation(const std::filesystem::path& file) {
  std::ifstream in(file);
  if (!in) throw std::runtime_error(file.string() + ": cannot be read");
  Conversation conversation;
  int number = 0;
  for (std::string text; std::getline(in, text);) {
    ++number;
    if (text.empty() || text[0] == '#') continue;
    try {
      if (text == "mode listen") {
        conversation.listens = true;
      } else if (text == "phone") {
        conversation.phone = ReadPhone(in, number);
      } else if (auto step = ReadStep(text, number)) {
        conversation.steps.push_back(std::move(*step));
      } else {
        throw std::runtime_error("cannot be understood: " + text);
      }
    } catch (const std::exception& error) {
      throw std::runtime_error(file.string() + ":" + std::to_string(number) + ": " + error.what());
    }
  }
  return conversation;
}

}  // namespace test
