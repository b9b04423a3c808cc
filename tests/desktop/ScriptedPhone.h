// A peer that follows a script, for sessions that no real agent would have. One step a line:
//
//   expect 1/15 [HEX]      the next request is this, with exactly this data; filler in front of it is dropped
//   reply 1/16 HEX...      a reply to it; $name stands for a text given beforehand
//   lying 3 1/16 HEX...    the same with 3 in its length field
//   stranger 1/16 HEX...   the same with a packet number nobody asked with
//   again 1/16 HEX...      a reply to the request before the last
//   send HEX               these bytes
//   nudge                  the next byte is a 0
//   call                   runs the given act
//   flood HEX              these bytes over and over until the desktop leaves
//   end                    the desktop leaves without another byte
//
// After the script the connection is closed. It listens on loopback and serves one connection.
#pragma once

#include <deque>
#include <functional>
#include <map>
#include <string>
#include <thread>
#include <vector>

namespace brelix::test {

class ScriptedPhone {
 public:
  explicit ScriptedPhone(const std::string& script, std::map<std::string, std::string> texts = {},
                         std::function<void()> act = {});
  ~ScriptedPhone();

  std::string Address() const;
  // Ends the service; empty when everything went by the script, else the step that did not.
  std::string Finish();

 private:
  struct Step {
    std::string verb;
    std::vector<std::string> words;
    std::string line;
  };
  void Serve();
  bool Run(const Step& step);
  bool Expect(const Step& step);
  bool Ended();
  bool Fill(size_t bytes);
  bool Send(const std::string& bytes);
  std::string Data(const Step& step, size_t from) const;
  std::string Reply(const Step& step, size_t from, int length, const std::string& number) const;

  std::deque<Step> steps_;
  std::map<std::string, std::string> texts_;
  std::function<void()> act_;
  int listener_ = -1;
  int peer_ = -1;
  int port_ = 0;
  std::string held_;
  std::string number_, number_before_;
  std::string error_;
  std::thread thread_;
};

// The usual beginning and end of a session.
inline const std::string kBegin =
    "expect 1/247\nreply 1/248 00000000\nexpect 1/1\nreply 1/2 00000000 02b5 07d9 07 0c 0d 2d\n";
inline const std::string kEnd = "expect 1/3\nreply 1/4 00000000\nend\n";

}  // namespace brelix::test
