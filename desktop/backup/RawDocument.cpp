#include "desktop/backup/RawDocument.h"

#include <algorithm>
#include <fmt/format.h>

#include "desktop/Failure.h"

namespace brelix::backup {

RawDocument::RawDocument(std::string_view document, std::string_view root, std::span<const ElementRule> rules,
                         Losses& losses) {
  try {
    elements_ = ReadElements(InsideRoot(document, root), rules).elements;
  } catch (const Failure&) {
    ReadTolerantly(document, root, rules);
  }
  if (!IsWritten(document, root))
    losses.push_back({std::string(root), "is not written as agents write it; what is unknown in it is left out"});
}

std::optional<std::string_view> RawDocument::Raw(std::string_view name) const {
  const auto found = std::find_if(elements_.begin(), elements_.end(), [&](const auto& e) { return e.name == name; });
  if (found == elements_.end()) return std::nullopt;
  return found->text;
}

// What stands between the elements is passed over. Of elements that repeat this would take one.
void RawDocument::ReadTolerantly(std::string_view document, std::string_view root, std::span<const ElementRule> rules) {
  if (std::any_of(rules.begin(), rules.end(), [](const ElementRule& rule) { return rule.repeats; }))
    throw Failure(Exit::kProtocol, fmt::format("the phone's <{}> document cannot be told apart", root));
  std::vector<std::string_view> names;
  for (const ElementRule& rule : rules) names.push_back(rule.name);
  held_.emplace(document, root, names);
  for (const std::string_view name : names)
    if (const auto raw = held_->Raw(name)) elements_.push_back({name, *raw});
}

// Bytes that mean the same elements but stand otherwise would not come again.
bool RawDocument::IsWritten(std::string_view document, std::string_view root) const {
  const auto take = [&](std::string_view text) {
    const bool stands = document.starts_with(text);
    if (stands) document.remove_prefix(text.size());
    return stands;
  };
  bool same = take(fmt::format("<?xml version=\"1.0\" encoding=\"utf-8\"?>\n<{}>\n", root));
  for (const ElementText& element : elements_)
    same = same && take(fmt::format("  <{}>", element.name)) && take(element.text) &&
           take(fmt::format("</{}>\n", element.name));
  return same && document == fmt::format("</{}>", root);
}

}  // namespace brelix::backup
