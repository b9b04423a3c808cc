#include "wince/loader/Crossing.h"

#include <cstdio>
#include <cstdlib>
#include <map>
#include <mutex>
#include <sys/mman.h>
#include <utility>

extern "C" {
void crossing_enter();
std::uint64_t crossing_call(const void* function, const std::uint32_t* words, std::uint32_t count, std::uint32_t skew);
std::uint64_t crossing_dispatch(const crossing::Entry* entry, const std::uint32_t* words) {
  return entry->run(*entry, words);
}
}

namespace crossing {

namespace {

constexpr std::uint32_t kLoadEntry = 0xE59FC000;  // ldr ip, [pc]: the word after the next
constexpr std::uint32_t kJump = 0xE59FF000;       // ldr pc, [pc]: the word after the next
constexpr std::size_t kStubWords = 4;
constexpr std::size_t kChunk = 64 * 1024;

std::mutex g_mutex;
std::uint32_t g_skew = 0;

std::uint32_t* NextPlace() {
  static std::uint32_t* next = nullptr;
  static std::uint32_t* end = nullptr;
  if (next == end) {
    void* chunk = mmap(nullptr, kChunk, PROT_READ | PROT_WRITE | PROT_EXEC, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (chunk == MAP_FAILED) {
      std::perror("ce-loader: memory for stubs");
      std::abort();
    }
    next = static_cast<std::uint32_t*>(chunk);
    end = next + kChunk / sizeof *next;
  }
  return std::exchange(next, next + kStubWords);
}

std::uint32_t Word(const void* address) {
  return static_cast<std::uint32_t>(reinterpret_cast<std::uintptr_t>(address));
}

}  // namespace

void* NewStub(const Entry* entry) {
  const std::lock_guard lock(g_mutex);
  std::uint32_t* place = NextPlace();
  place[0] = kLoadEntry;
  place[1] = kJump;
  place[2] = Word(entry);
  place[3] = Word(reinterpret_cast<const void*>(&crossing_enter));
  __builtin___clear_cache(reinterpret_cast<char*>(place), reinterpret_cast<char*>(place + kStubWords));
  return place;
}

void SetStackSkew(std::uint32_t skew) { g_skew = skew; }

std::uint64_t CallWords(const void* function, const std::uint32_t* words, std::uint32_t count) {
  return crossing_call(function, words, count, g_skew);
}

const void* CallbackStub(const void* function, std::uint64_t (*run)(const Entry&, const std::uint32_t*)) {
  static std::mutex mutex;
  static std::map<const void*, std::pair<Entry, const void*>> stubs;
  const std::lock_guard lock(mutex);
  const auto [place, isNew] = stubs.try_emplace(function, Entry{run, function, "callback"}, nullptr);
  if (isNew) {
    place->second.second = NewStub(&place->second.first);
  }
  return place->second.second;
}

}  // namespace crossing
