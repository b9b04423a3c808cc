#include "desktop/Document.h"

#include <algorithm>
#include <charconv>
#include <fmt/format.h>

#include "desktop/Failure.h"
#include "desktop/Text.h"

namespace brelix {
namespace {

std::string OpenTag(std::string_view name) { return fmt::format("<{}>", name); }
std::string CloseTag(std::string_view name) { return fmt::format("</{}>", name); }

std::string_view SkipBlanks(std::string_view text) {
  text.remove_prefix(std::min(text.find_first_not_of(kBlanks), text.size()));
  return text;
}

// The inside of one document, read from front to back.
class Walk {
 public:
  Walk(std::string_view body, std::span<const std::string_view> names) : rest_(body), names_(names) {}

  // Finds the next known element; false at the end.
  bool Next(std::string_view& name, std::string_view& text) {
    rest_ = SkipBlanks(rest_);
    if (rest_.empty() || names_.empty()) return false;
    if (OpensAt(rest_) == names_.size() && !PassUnknown()) return false;
    const size_t which = OpensAt(rest_);
    name = names_[which];
    rest_.remove_prefix(OpenTag(name).size());
    names_ = names_.subspan(which + 1);
    const std::string close = CloseTag(name);
    const size_t end = FindClose(close);
    if (end == rest_.npos)
      throw Failure(Exit::kProtocol, fmt::format("the phone's document is broken: <{}> does not end", name));
    text = rest_.substr(0, end);
    rest_.remove_prefix(end + close.size());
    return true;
  }

 private:
  // Which of the elements still to come opens right here; the number of them when none does.
  size_t OpensAt(std::string_view text) const {
    const auto opens = [&](std::string_view name) {
      return text.size() >= name.size() + 2 && text[0] == '<' && text.substr(1, name.size()) == name &&
             text[name.size() + 1] == '>';
    };
    return std::find_if(names_.begin(), names_.end(), opens) - names_.begin();
  }

  bool PassUnknown() {
    for (size_t at = rest_.find('<'); at != rest_.npos; at = rest_.find('<', at + 1)) {
      if (OpensAt(rest_.substr(at)) == names_.size()) continue;
      rest_.remove_prefix(at);
      return true;
    }
    return false;
  }

  size_t FindClose(const std::string& close) const {
    for (size_t at = rest_.find(close); at != rest_.npos; at = rest_.find(close, at + 1)) {
      const std::string_view behind = SkipBlanks(rest_.substr(at + close.size()));
      if (behind.empty() || OpensAt(behind) < names_.size()) return at;
    }
    return rest_.rfind(close);
  }

  std::string_view rest_;
  std::span<const std::string_view> names_;
};

}  // namespace

Document::Document(std::string_view text, std::string_view root, std::span<const std::string_view> names)
    : text_(text) {
  const std::string open = OpenTag(root);
  const std::string close = CloseTag(root);
  std::string_view body = text_;
  const size_t from = body.find(open);
  const size_t to = body.rfind(close);
  if (from == body.npos || to == body.npos || to < from + open.size())
    throw Failure(Exit::kProtocol, fmt::format("the phone's answer is not a whole <{}> document", root));
  body = body.substr(from + open.size(), to - from - open.size());

  Walk walk(body, names);
  std::string_view name, raw;
  while (walk.Next(name, raw)) elements_.emplace(name, raw);
}

std::optional<std::string_view> Document::Raw(std::string_view name) const {
  const auto found = elements_.find(name);
  if (found == elements_.end()) return std::nullopt;
  return found->second;
}

std::optional<std::string> Document::Text(std::string_view name) const {
  const auto raw = Raw(name);
  if (!raw || raw->empty()) return std::nullopt;
  return CleanUtf8(*raw);
}

std::optional<int64_t> Document::Number(std::string_view name) const {
  const auto raw = Raw(name);
  if (!raw) return std::nullopt;
  int64_t value = 0;
  const auto [end, error] = std::from_chars(raw->data(), raw->data() + raw->size(), value);
  if (error != std::errc() || end != raw->data() + raw->size()) return std::nullopt;
  return value;
}

}  // namespace brelix
