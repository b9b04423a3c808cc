#include "desktop/diff/ItemStore.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <fmt/format.h>
#include <stdlib.h>
#include <unistd.h>

#include "desktop/Failure.h"

namespace brelix::diff {
namespace {

constexpr size_t kTried = 16;  // of several items with one key, how many are looked at for an equal one

[[noreturn]] void Fail() {
  throw Failure(Exit::kLocalFile, fmt::format("a temporary file in {}: {}",
                                              std::filesystem::temp_directory_path().string(), std::strerror(errno)));
}

// Each text behind its length.
void Put(std::string& out, const std::string& text) {
  const auto size = static_cast<uint32_t>(text.size());
  out.append(reinterpret_cast<const char*>(&size), sizeof size).append(text);
}

std::string Get(std::string_view& from) {
  uint32_t size = 0;
  std::memcpy(&size, from.data(), sizeof size);
  std::string text(from.substr(sizeof size, size));
  from.remove_prefix(sizeof size + size);
  return text;
}

}  // namespace

std::vector<FieldDifference> FieldDifferences(const std::vector<Field>& before, const std::vector<Field>& after) {
  std::vector<FieldDifference> all;
  std::unordered_map<std::string_view, const std::string*> second;
  for (const Field& field : after) second.emplace(field.name, &field.value);
  for (const Field& field : before) {
    const auto other = second.find(field.name);
    if (other == second.end()) {
      all.push_back({field.name, field.value, std::nullopt});
      continue;
    }
    if (*other->second != field.value) all.push_back({field.name, field.value, *other->second});
    second.erase(other);
  }
  for (const Field& field : after)
    if (second.erase(field.name) > 0) all.push_back({field.name, std::nullopt, field.value});
  return all;
}

ItemStore::ItemStore() {
  std::error_code error;
  std::string path = (std::filesystem::temp_directory_path(error) / "brelix-diff-XXXXXX").string();
  fd_ = mkostemp(path.data(), O_CLOEXEC);
  if (fd_ < 0) Fail();
  unlink(path.c_str());
}

ItemStore::~ItemStore() { close(fd_); }

void ItemStore::Add(const Item& item) {
  std::string bytes;
  Put(bytes, item.key);
  Put(bytes, item.label);
  for (const Field& field : item.fields) {
    Put(bytes, field.name);
    Put(bytes, field.value);
  }
  for (size_t done = 0; done < bytes.size();) {
    const ssize_t count = pwrite(fd_, bytes.data() + done, bytes.size() - done, static_cast<off_t>(end_ + done));
    if (count < 0 && errno != EINTR) Fail();
    done += static_cast<size_t>(std::max<ssize_t>(count, 0));
  }
  places_[item.key].push_back({end_, static_cast<uint32_t>(bytes.size())});
  end_ += bytes.size();
}

Item ItemStore::Read(const Place& place) const {
  std::string bytes(place.size, '\0');
  for (size_t done = 0; done < bytes.size();) {
    const ssize_t count = pread(fd_, bytes.data() + done, bytes.size() - done, static_cast<off_t>(place.offset + done));
    if (count == 0) errno = EIO;
    if (count == 0 || (count < 0 && errno != EINTR)) Fail();
    done += static_cast<size_t>(std::max<ssize_t>(count, 0));
  }
  std::string_view rest = bytes;
  Item item{Get(rest), Get(rest), {}};
  while (!rest.empty()) {
    std::string name = Get(rest);
    item.Add(std::move(name), Get(rest));
  }
  return item;
}

std::optional<Item> ItemStore::Take(const Item& like) {
  const auto found = places_.find(like.key);
  if (found == places_.end()) return std::nullopt;
  std::vector<Place>& places = found->second;
  std::optional<Item> taken;
  size_t at = 0;
  for (size_t tried = 0; tried < std::min(places.size(), kTried); tried++) {
    Item item = Read(places[tried]);
    const bool equal = item.fields == like.fields;
    if (equal || !taken) {
      taken = std::move(item);
      at = tried;
    }
    if (equal) break;
  }
  places.erase(places.begin() + static_cast<ptrdiff_t>(at));
  if (places.empty()) places_.erase(found);
  return taken;
}

void ItemStore::Rest(const TakeItem& take) {
  std::vector<Place> left;
  for (const auto& [key, places] : places_) left.insert(left.end(), places.begin(), places.end());
  std::sort(left.begin(), left.end(), [](const Place& a, const Place& b) { return a.offset < b.offset; });
  for (const Place& place : left) take(Read(place));
}

}  // namespace brelix::diff
