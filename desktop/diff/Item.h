// What two phones are compared by: things with a name that is the same on both, and fields that may differ.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace brelix::diff {

struct Field {
  std::string name;
  std::string value;  // the phone's UTF-8, as it is
  bool operator==(const Field&) const = default;
};

struct Item {
  std::string key;            // what makes it the same thing on both phones
  std::string label;          // what people know it by
  std::vector<Field> fields;  // those that are there, in the domain's order

  void Add(std::string name, std::string value) { fields.push_back({std::move(name), std::move(value)}); }
  void AddIf(std::string name, const std::optional<std::string>& value) {
    if (value) Add(std::move(name), *value);
  }
};

struct FieldDifference {
  std::string name;
  std::optional<std::string> before, after;  // nothing where the field is not there
};

// In the order of the first item, then what only the second one has.
std::vector<FieldDifference> FieldDifferences(const std::vector<Field>& before, const std::vector<Field>& after);

using TakeItem = std::function<void(Item)>;

}  // namespace brelix::diff
