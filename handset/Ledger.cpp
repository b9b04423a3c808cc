#include "handset/Ledger.h"

#include <algorithm>
#include <array>
#include <fmt/format.h>
#include <string_view>

namespace handset {

namespace {

constexpr std::array<std::string_view, 20> kNames = {
    "thread",       "registry key",  "line app",    "line",          "socket",        "call log",      "file",
    "file listing", "COM reference", "heap block",  "system string", "Winsock start", "COM start",     "MAPI start",
    "MAPI logon",   "Outlook logon", "MAPI buffer", "MAPI rows",     "SMS handle",    "service record"};
static_assert(kNames.size() == static_cast<std::size_t>(Held::kServiceRecord) + 1);

}  // namespace

void Ledger::Hold(Held kind, std::uint64_t id, std::string what) {
  const std::lock_guard lock(m_mutex);
  Entry& entry = m_entries[{kind, id}];
  ++entry.count;
  if (!what.empty()) entry.what = std::move(what);
}

bool Ledger::Drop(Held kind, std::uint64_t id) {
  const std::lock_guard lock(m_mutex);
  const auto at = m_entries.find({kind, id});
  if (at == m_entries.end()) return false;
  if (--at->second.count == 0) m_entries.erase(at);
  return true;
}

void Ledger::Refuse(Held kind, std::uint64_t id) {
  const std::lock_guard lock(m_mutex);
  const auto at = m_entries.find({kind, id});
  if (at != m_entries.end()) at->second.refused = true;
}

std::uint64_t Ledger::NextId() {
  const std::lock_guard lock(m_mutex);
  return ++m_lastId;
}

std::uint64_t Ledger::Count(Held kind) const {
  const std::lock_guard lock(m_mutex);
  std::uint64_t count = 0;
  for (const auto& [key, entry] : m_entries) {
    if (key.first == kind && !entry.refused) count += entry.count;
  }
  return count;
}

bool Ledger::EmptyExcept(std::initializer_list<Held> expected) const {
  const std::lock_guard lock(m_mutex);
  return std::ranges::all_of(m_entries, [&](const auto& item) {
    return item.second.refused || std::ranges::find(expected, item.first.first) != expected.end();
  });
}

std::vector<std::string> Ledger::List() const {
  const std::lock_guard lock(m_mutex);
  std::vector<std::string> lines;
  for (const auto& [key, entry] : m_entries) {
    if (entry.refused) continue;
    std::string line = fmt::format("{} {}", kNames[static_cast<std::size_t>(key.first)], key.second);
    if (!entry.what.empty()) line += ": " + entry.what;
    if (entry.count > 1) line += fmt::format(" ({} times)", entry.count);
    lines.push_back(std::move(line));
  }
  return lines;
}

std::string Ledger::Text() const {
  std::string text;
  for (const std::string& line : List()) text += line + "\n";
  return text;
}

}  // namespace handset
