// The items of one phone, kept in a temporary file so that memory holds no more than their keys, however big the phone
// is.
#pragma once

#include <cstdint>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "desktop/diff/Item.h"

namespace brelix::diff {

class ItemStore {
 public:
  // Throws local-file failures, as all the others do. The file has no name and goes with the object.
  ItemStore();
  ~ItemStore();
  ItemStore(const ItemStore&) = delete;
  ItemStore& operator=(const ItemStore&) = delete;

  void Add(const Item& item);
  // The item with the key of this one, which is given once. Of several with the same key, one that equals this one is
  // preferred.
  std::optional<Item> Take(const Item& like);
  // What was not taken, in the order in which it was added.
  void Rest(const TakeItem& take);

 private:
  // Where an item stands in the file.
  struct Place {
    uint64_t offset = 0;
    uint32_t size = 0;
  };
  Item Read(const Place& place) const;

  int fd_ = -1;
  uint64_t end_ = 0;
  std::unordered_map<std::string, std::vector<Place>> places_;
};

}  // namespace brelix::diff
