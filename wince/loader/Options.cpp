#include "wince/loader/Options.h"

#include <charconv>

namespace crossing {

const char kHelp[] =
    "usage: ce-loader [OPTION]... --phone DIR LIBRARY\n"
    "Runs the phone's own library over a phone in software, and serves one desktop over standard input and output.\n"
    "  --phone DIR       the phone's folder\n"
    "  --relocate        load the library elsewhere than at its preferred address\n"
    "  --stack-skew N    give it stacks that are N (0 or 4) bytes off an alignment of 8\n"
    "  --check-leaks     at the end, tell what was not given back to the phone; exit 1 if anything\n"
    "  --host LIBRARY    let a host library serve desktops instead, one after the other, until SIGTERM\n"
    "  --listen ADDRESS  where: unix:PATH\n"
    "  --program FILE    run a host program of the phone instead, and exit as it does; SIGTERM closes the box that it\n"
    "                    shows, and a channel of its radio is the socket DIR/bluetooth/channel-N\n"
    "Exit status: 0 served, 1 failed, 2 wrong usage or no library for this phone, 3 a fault inside the library.\n";

namespace {

std::uint32_t ToNumber(const std::string& option, const std::string& text) {
  std::uint32_t number = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (error != std::errc() || end != text.data() + text.size()) {
    throw UsageError(option + ": expected a number, found \"" + text + "\"");
  }
  return number;
}

// The words, one after the other.
class Words {
 public:
  explicit Words(const std::vector<std::string>& words) : m_words(words) {}
  bool AtEnd() const { return m_next == m_words.size(); }
  const std::string& Next() { return m_words[m_next++]; }
  const std::string& ValueOf(const std::string& option) {
    if (AtEnd()) throw UsageError(option + ": expected a value");
    return Next();
  }

 private:
  const std::vector<std::string>& m_words;
  std::size_t m_next = 0;
};

void CheckTogether(const Options& options) {
  if (options.phone.empty() || options.library.empty()) throw UsageError("expected --phone DIR and a library");
  if (options.stackSkew != 0 && options.stackSkew != 4) throw UsageError("--stack-skew: expected 0 or 4");
  if (!options.listen.empty() && !options.listen.starts_with("unix:")) throw UsageError("--listen: expected unix:PATH");
  if (options.host.empty() != options.listen.empty()) throw UsageError("--host and --listen belong together");
}

}  // namespace

Options ParseOptions(const std::vector<std::string>& list) {
  Options options;
  for (Words words(list); !words.AtEnd();) {
    const std::string& word = words.Next();
    if (word == "--help") {
      options.help = true;
      return options;
    } else if (word == "--phone") {
      options.phone = words.ValueOf(word);
    } else if (word == "--relocate") {
      options.place = Place::kElsewhere;
    } else if (word == "--stack-skew") {
      options.stackSkew = ToNumber(word, words.ValueOf(word));
    } else if (word == "--check-leaks") {
      options.checkLeaks = true;
    } else if (word == "--host") {
      options.host = words.ValueOf(word);
    } else if (word == "--program") {
      options.program = words.ValueOf(word);
    } else if (word == "--listen") {
      options.listen = words.ValueOf(word);
    } else if (word.starts_with("-") || !options.library.empty()) {
      throw UsageError("unexpected \"" + word + "\"");
    } else {
      options.library = word;
    }
  }
  CheckTogether(options);
  return options;
}

}  // namespace crossing
