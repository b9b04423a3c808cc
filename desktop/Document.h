// Reading the phone's documents, whose texts are not escaped: a text may hold '<', '&' or something that looks like a
// tag. What makes them readable is that each document writes known elements in a known order, each at most once.
//
// An element is looked for directly behind the one before, leaving out what is optional. It ends at the first closing
// tag of its name that is followed by the opening tag of a later element or by the end of the document; a closing tag
// inside a text is normally followed by neither. Where no closing tag is followed so, the last one of that name counts.
// Elements nobody told us about are passed over.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace brelix {

class Document {
 public:
  // Throws a protocol failure when the root element does not open and close, or an element does not close.
  Document(std::string_view text, std::string_view root, std::span<const std::string_view> names);

  Document(const Document&) = delete;
  Document& operator=(const Document&) = delete;

  // The raw text of an element as the phone sent it; nothing when the document does not have the element.
  std::optional<std::string_view> Raw(std::string_view name) const;
  // The same, made proper UTF-8. An empty text says that the phone does not know, and counts as nothing.
  std::optional<std::string> Text(std::string_view name) const;
  // A decimal number; nothing when the text is something else.
  std::optional<int64_t> Number(std::string_view name) const;

 private:
  std::string text_;
  std::map<std::string_view, std::string_view> elements_;
};

}  // namespace brelix
