#include "desktop/mbox/MimeText.h"

#include <algorithm>
#include <fmt/chrono.h>
#include <gmime/gmime.h>
#include <memory>

#include "desktop/Text.h"

namespace brelix {
namespace {

constexpr size_t kLongestPlain = 70;  // keeps a line below the 78 characters that RFC 5322 recommends
constexpr size_t kWordBytes = 39;     // 52 characters of base64: with the longest name we use, 76 a line
constexpr std::string_view kAtomMarks = "!#$%&'*+-/=?^_`{|}~.";

void StartLibrary() { [[maybe_unused]] static const bool started = (g_mime_init(), true); }

std::string Taken(char* text) {
  const std::unique_ptr<char, decltype(&g_free)> owned(text, g_free);
  return CleanUtf8(text == nullptr ? "" : text);
}

std::optional<std::string> Filled(const char* text) {
  if (text == nullptr || *text == '\0') return std::nullopt;
  return CleanUtf8(text);
}

std::string Unquoted(std::string_view text) {
  if (text.size() < 2 || !text.starts_with('"') || !text.ends_with('"')) return std::string(text);
  std::string out;
  for (size_t i = 1; i + 1 < text.size(); i++) {
    if (text[i] == '\\' && i + 2 < text.size()) i++;
    out += text[i];
  }
  return out;
}

Mailbox AsMailbox(InternetAddress* address) {
  Mailbox mailbox{Filled(internet_address_get_name(address)),
                  Filled(internet_address_mailbox_get_addr(INTERNET_ADDRESS_MAILBOX(address)))};
  if (mailbox.address && mailbox.address->ends_with(kPhoneDomain)) {
    mailbox.address = Unquoted(mailbox.address->substr(0, mailbox.address->size() - kPhoneDomain.size()));
    if (*mailbox.address == kNobody || *mailbox.address == kOwner) mailbox.address.reset();
  }
  return mailbox;
}

void Collect(InternetAddressList* list, std::vector<Mailbox>& into) {
  for (int i = 0; list != nullptr && i < internet_address_list_length(list); i++) {
    InternetAddress* address = internet_address_list_get_address(list, i);
    if (INTERNET_ADDRESS_IS_GROUP(address))
      Collect(internet_address_group_get_members(INTERNET_ADDRESS_GROUP(address)), into);
    else
      into.push_back(AsMailbox(address));
  }
}

bool IsPrintableAscii(std::string_view text) {
  return std::all_of(text.begin(), text.end(), [](char c) { return c >= 0x20 && c < 0x7F; });
}

bool IsPlain(std::string_view text) {
  return text.size() <= kLongestPlain && IsPrintableAscii(text) && text.find("=?") == text.npos &&
         !text.starts_with(' ') && !text.ends_with(' ');
}

std::string Base64(std::string_view bytes) {
  const std::unique_ptr<char, decltype(&g_free)> text(
      g_base64_encode(reinterpret_cast<const guchar*>(bytes.data()), bytes.size()), g_free);
  return text.get();
}

// No character is divided between two words.
std::string EncodedWords(std::string_view utf8) {
  std::string out;
  while (!utf8.empty()) {
    size_t size = std::min(kWordBytes, utf8.size());
    while (size > 1 && size < utf8.size() && (utf8[size] & 0xC0) == 0x80) size--;
    out += fmt::format("{}=?UTF-8?B?{}?=", out.empty() ? "" : "\n ", Base64(utf8.substr(0, size)));
    utf8.remove_prefix(size);
  }
  return out;
}

std::string Quoted(std::string_view text) {
  std::string out = "\"";
  for (const char c : text) {
    if (c == '"' || c == '\\') out += '\\';
    out += c;
  }
  return out + '"';
}

// Atoms with single dots between them.
bool IsDotAtom(std::string_view text) {
  return !text.empty() && text.front() != '.' && text.back() != '.' && text.find("..") == text.npos &&
         std::all_of(text.begin(), text.end(),
                     [](char c) { return g_ascii_isalnum(c) || kAtomMarks.find(c) != kAtomMarks.npos; });
}

bool IsMailAddress(std::string_view address) {
  const size_t at = address.rfind('@');
  return at != address.npos && IsDotAtom(address.substr(0, at)) && IsDotAtom(address.substr(at + 1));
}

// A quoted name with an address in angle brackets, as phones store some senders.
Mailbox Divided(Mailbox mailbox) {
  if (!mailbox.address) return mailbox;
  const std::string whole = *mailbox.address;
  const size_t quote = whole.starts_with('"') ? whole.find('"', 1) : whole.npos;
  const size_t open = quote == whole.npos ? quote : whole.find('<', quote);
  if (open == whole.npos || !whole.ends_with('>')) return mailbox;
  if (!mailbox.name && quote > 1) mailbox.name = whole.substr(1, quote - 1);
  mailbox.address = whole.substr(open + 1, whole.size() - open - 2);
  return mailbox;
}

}  // namespace

std::string DecodeText(const std::string& value) {
  StartLibrary();
  return Taken(g_mime_utils_header_decode_text(nullptr, value.c_str()));
}

std::vector<Mailbox> DecodeAddresses(const std::string& value) {
  StartLibrary();
  const std::unique_ptr<InternetAddressList, decltype(&g_object_unref)> list(
      internet_address_list_parse(nullptr, value.c_str()), g_object_unref);
  std::vector<Mailbox> all;
  Collect(list.get(), all);
  return all;
}

std::optional<std::chrono::sys_seconds> DecodeDate(const std::string& value) {
  StartLibrary();
  const std::unique_ptr<GDateTime, decltype(&g_date_time_unref)> date(g_mime_utils_header_decode_date(value.c_str()),
                                                                      g_date_time_unref);
  if (!date) return std::nullopt;
  return std::chrono::sys_seconds(std::chrono::seconds(g_date_time_to_unix(date.get())));
}

std::string EncodeText(std::string_view utf8) { return IsPlain(utf8) ? std::string(utf8) : EncodedWords(utf8); }

std::string EncodeAddress(const Mailbox& mailbox) {
  const Mailbox divided = Divided(mailbox);
  std::string name = divided.name.value_or("");
  const std::string given = divided.address.value_or("");
  std::string address = given;
  if (!IsMailAddress(address)) {
    const bool fits = IsPlain(given) && !given.empty();
    if (!fits && !given.empty()) name += fmt::format("{}({})", name.empty() ? "" : " ", given);
    const std::string local = fits ? given : std::string(kNobody);
    address = fmt::format("{}{}", IsDotAtom(local) ? local : Quoted(local), kPhoneDomain);
  }
  if (name.empty()) return fmt::format("<{}>", address);
  // A line of its own for the address, behind words that fill one.
  return IsPlain(name) ? fmt::format("{} <{}>", Quoted(name), address)
                       : fmt::format("{}\n <{}>", EncodedWords(name), address);
}

std::string EncodeDate(std::chrono::sys_seconds time) {
  return fmt::format("{:%a, %d %b %Y %H:%M:%S} +0000", fmt::gmtime(time.time_since_epoch().count()));
}

}  // namespace brelix
