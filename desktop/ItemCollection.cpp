#include "desktop/ItemCollection.h"

#include <fmt/format.h>

#include "desktop/Stream.h"
#include "desktop/Wire.h"

namespace brelix {
namespace {

// A collection that others hold too is closed once for each of them.
constexpr int kMostHolders = 64;

Bytes NumberData(uint32_t number) {
  Bytes data;
  for (const int shift : {24, 16, 8, 0}) data.push_back(static_cast<uint8_t>(number >> shift));
  return data;
}

}  // namespace

ItemCollection::ItemCollection(Session& session, uint16_t module) : session_(session), module_(module) {
  Result opened = session_.AskResult(module_, wire::kOpenItems);
  if (opened.code == wire::kRefusedResult) {
    Close();
    opened = session_.AskResult(module_, wire::kOpenItems);
  }
  // One that does not close can still be read, if perhaps as it was earlier.
  if (opened.code != 0 && opened.code != wire::kRefusedResult)
    throw Failure(Exit::kPhoneError, fmt::format("{}: the collection of module {} does not open: {}",
                                                 session_.address(), module_, PhoneErrorText(opened.code)));
}

ItemCollection::~ItemCollection() {
  try {
    Close();
  } catch (const Failure&) {
    // The link is gone, and the next desktop closes what it finds open.
  }
}

void ItemCollection::Close() {
  for (int i = 0; i < kMostHolders; i++) {
    const uint32_t left = session_.AskResult(module_, wire::kCloseItems).code;
    if (left == 0 || left == wire::kRefusedResult) return;
  }
}

uint32_t ItemCollection::Count() {
  const Bytes data = session_.Answer(module_, wire::kItemCount);
  if (data.size() != 4)
    throw Failure(Exit::kProtocol, fmt::format("{}: the answer to count has {} bytes instead of 8", session_.address(),
                                               data.size() + 4));
  return Read32(data, 0);
}

Result ItemCollection::Ask(uint16_t command, uint32_t number) { return Ask(command, number, {}); }

Result ItemCollection::Ask(uint16_t command, uint32_t number, ByteView more) {
  Bytes data = NumberData(number);
  data.insert(data.end(), more.begin(), more.end());
  return session_.AskResult(module_, command, data);
}

void ItemCollection::AskAll(uint32_t count, const std::function<bool(uint32_t, Result)>& take) {
  Stream stream(session_);
  bool wanted = true;
  for (uint64_t next = 1; next <= count && wanted; next++) {
    const uint32_t position = static_cast<uint32_t>(next);
    stream.Ask(module_, wire::kGetItem, NumberData(position),
               [&take, &wanted, position](Result result) { wanted = wanted && take(position, std::move(result)); });
  }
  while (wanted && stream.TakeOne()) continue;
}

}  // namespace brelix
