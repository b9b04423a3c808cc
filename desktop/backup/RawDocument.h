// A document of a phone's item as it came: which bytes are which element, and whether an agent that has these elements
// writes these very bytes again.
#pragma once

#include <map>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "desktop/Document.h"
#include "desktop/Elements.h"

namespace brelix::backup {

// What of an answer a phone's database cannot hold, or only by something that stands for it. The rest is exact.
struct Loss {
  std::string what;  // an element's name
  std::string why;
  bool operator==(const Loss&) const = default;
};
using Losses = std::vector<Loss>;

class RawDocument {
 public:
  // The document must live as long as this. Throws a protocol failure when it is no whole one.
  RawDocument(std::string_view document, std::string_view root, std::span<const ElementRule> rules, Losses& losses);

  const std::vector<ElementText>& elements() const { return elements_; }
  // The first element of this name.
  std::optional<std::string_view> Raw(std::string_view name) const;

 private:
  void ReadTolerantly(std::string_view document, std::string_view root, std::span<const ElementRule> rules);
  bool IsWritten(std::string_view document, std::string_view root) const;

  std::vector<ElementText> elements_;
  std::optional<Document> held_;
};

}  // namespace brelix::backup
