#include "desktop/Elements.h"

#include <algorithm>
#include <fmt/format.h>
#include <optional>
#include <string>

#include "desktop/Failure.h"
#include "desktop/Text.h"

namespace brelix {
namespace {

constexpr int kNothingYet = -1;  // a rank below every element's

enum class Layout { kLines, kFree };

// Counts the readings of a body from its end to its front: what can follow a closing tag depends on its place alone.
class Counter {
 public:
  Counter(std::string_view body, std::span<const ElementRule> rules, Layout layout)
      : body_(body), rules_(rules), layout_(layout), closes_(rules.size()) {
    CollectCloses();
    std::vector<size_t> left(rules.size());
    for (size_t rule = 0; rule < rules.size(); rule++) left[rule] = closes_[rule].size();
    for (size_t n = order_.size(); n-- > 0;) {
      const size_t rule = order_[n];
      const size_t which = --left[rule];
      Close& close = closes_[rule][which];
      close.readings = ReadingsFrom(Behind(rule, close.at), rules_[rule].rank);
      const int later = which + 1 < closes_[rule].size() ? closes_[rule][which + 1].readings_from_here : 0;
      close.readings_from_here = std::min(kMany, close.readings + later);
    }
  }

  // 0, 1, or 2 for more than one.
  int Readings() const { return ReadingsFrom(0, kNothingYet); }

  std::vector<ElementText> Earliest() const {
    std::vector<ElementText> elements;
    size_t at = 0;
    int rank = kNothingYet;
    while (const auto open = Opens(at, rank)) {
      const auto& closes = closes_[open->rule];
      size_t which = open->first_close;
      while (closes[which].readings == 0) which++;
      elements.push_back({rules_[open->rule].name, body_.substr(open->text, closes[which].at - open->text)});
      at = Behind(open->rule, closes[which].at);
      rank = rules_[open->rule].rank;
    }
    return elements;
  }

 private:
  static constexpr int kMany = 2;

  struct Close {
    size_t at;
    int readings = 0;            // of what is behind it
    int readings_from_here = 0;  // the same, summed up over it and the later ones of its name
  };
  struct Open {
    size_t rule;
    size_t text;         // where the element's text begins
    size_t first_close;  // the first of its closing tags behind that
  };

  void CollectCloses() {
    for (size_t at = body_.find("</"); at != body_.npos; at = body_.find("</", at + 1)) {
      const size_t rule = RuleAt(at + 2);
      if (rule == rules_.size() || !LineEndsAt(at + 3 + rules_[rule].name.size())) continue;
      closes_[rule].push_back({at});
      order_.push_back(rule);
    }
  }

  bool LineEndsAt(size_t at) const { return layout_ == Layout::kFree || (at < body_.size() && body_[at] == '\n'); }

  // Whose name, with '>' behind it, stands here.
  size_t RuleAt(size_t at) const {
    const std::string_view here = body_.substr(at);
    const auto stands = [&](const ElementRule& rule) {
      return here.size() > rule.name.size() && here.starts_with(rule.name) && here[rule.name.size()] == '>';
    };
    return std::find_if(rules_.begin(), rules_.end(), stands) - rules_.begin();
  }

  size_t Behind(size_t rule, size_t close) const {
    return close + rules_[rule].name.size() + 3 + (layout_ == Layout::kLines ? 1 : 0);
  }

  // Where the next tag would begin.
  size_t Ahead(size_t at) const {
    if (layout_ == Layout::kFree) return std::min(body_.find_first_not_of(kBlanks, at), body_.size());
    return body_.substr(at, 2) == "  " ? at + 2 : at;
  }

  bool Ends(size_t at) const { return layout_ == Layout::kFree ? Ahead(at) == body_.size() : at == body_.size(); }

  std::optional<Open> Opens(size_t at, int rank) const {
    const size_t tag = Ahead(at);
    if (tag >= body_.size() || body_[tag] != '<' || (layout_ == Layout::kLines && tag == at)) return std::nullopt;
    const size_t rule = RuleAt(tag + 1);
    if (rule == rules_.size()) return std::nullopt;
    const ElementRule& found = rules_[rule];
    if (found.rank < rank || (found.rank == rank && !found.repeats)) return std::nullopt;
    const size_t text = tag + found.name.size() + 2;
    const auto& closes = closes_[rule];
    const auto first =
        std::partition_point(closes.begin(), closes.end(), [&](const Close& close) { return close.at < text; });
    return Open{rule, text, static_cast<size_t>(first - closes.begin())};
  }

  int ReadingsFrom(size_t at, int rank) const {
    if (Ends(at)) return 1;
    const auto open = Opens(at, rank);
    if (!open || open->first_close == closes_[open->rule].size()) return 0;
    const Close& first = closes_[open->rule][open->first_close];
    const auto fits = rules_[open->rule].fits;
    if (fits == nullptr) return first.readings_from_here;
    return fits(body_.substr(open->text, first.at - open->text)) ? first.readings : 0;
  }

  std::string_view body_;
  std::span<const ElementRule> rules_;
  Layout layout_;
  std::vector<std::vector<Close>> closes_;  // by rule, in the order of the body
  std::vector<size_t> order_;               // whose closing tags follow one another
};

bool HoldsClosingTag(std::string_view text, std::span<const ElementRule> rules) {
  return std::any_of(rules.begin(), rules.end(),
                     [&](const ElementRule& rule) { return text.find(fmt::format("</{}>", rule.name)) != text.npos; });
}

}  // namespace

Reading ReadElements(std::string_view body, std::span<const ElementRule> rules) {
  for (const Layout layout : {Layout::kLines, Layout::kFree}) {
    const Counter counter(body, rules, layout);
    const int readings = counter.Readings();
    if (readings == 0) continue;
    Reading reading{counter.Earliest()};
    reading.ambiguous = readings > 1 && std::any_of(reading.elements.begin(), reading.elements.end(),
                                                    [&](const auto& e) { return HoldsClosingTag(e.text, rules); });
    return reading;
  }
  throw Failure(Exit::kProtocol, "the phone's document is broken: its elements cannot be told apart");
}

std::string_view InsideRoot(std::string_view document, std::string_view root) {
  const std::string open = fmt::format("<{}>", root);
  const std::string close = fmt::format("</{}>", root);
  const size_t from = document.find(open);
  const size_t end = document.find_last_not_of(kBlanks);
  if (from == document.npos || !document.substr(0, end + 1).ends_with(close) ||
      from + open.size() + close.size() > end + 1)
    throw Failure(Exit::kProtocol, fmt::format("the phone's answer is not a whole <{}> document", root));
  std::string_view inside = document.substr(from + open.size(), end + 1 - close.size() - from - open.size());
  if (inside.starts_with('\n')) inside.remove_prefix(1);
  return inside;
}

}  // namespace brelix
