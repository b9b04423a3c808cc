// What a hostile phone promises: the same seed lies the same way, and every lie is told at some time.
#include <gtest/gtest.h>
#include <set>

#include "programs/phone/hostile/Liar.h"

namespace brelix_phone::hostile {
namespace {

using namespace std::string_literals;

// A session as an agent would answer it.
std::vector<std::string> HonestSession() {
  const std::string declaration = "\0\0\0\0<?xml version=\"1.0\" encoding=\"utf-8\"?>\n"s;
  const std::string contact = declaration +
                              "<contactentry>\n  <oid>7</oid>\n  <Birthday>45010101T000000Z</Birthday>\n"
                              "</contactentry>";
  const std::string message = declaration + "<message>\n  <time>20090712T090000Z</time>\n</message>";
  const std::string listing = declaration +
                              "<folder>\n  <content>\n    <name>a</name>\n    <attr>A</attr>\n"
                              "    <size>7</size>\n  </content>\n</folder>\n";
  const std::pair<std::pair<int, int>, std::string> replies[] = {
      {{1, 248}, "\0\0\0\0"s},
      {{1, 2}, "\0\0\0\0\x02\xB5\x07\xD9\x07\x0C\x0D\x2D"s},
      {{3, 6}, "\0\0\0\0\0\0\0\x01"s},
      {{3, 10}, contact},
      {{6, 10}, declaration + "<accounts>\n  <name>SMS</name>\n</accounts>"},
      {{6, 14}, "\0\0\0\0\0\x01"s},
      {{6, 16}, message},
      {{6, 16}, "\0\0\0\x02"s},
      {{1, 54}, listing},
      {{1, 60}, "\0\0\0\0bytes"s},
      {{1, 60}, "\0\0\0\0"s},
      {{1, 104}, "\0\0\0\0Key\0"s},
      {{1, 106}, "\0\0\0\0\0\0\0\x04Name\0"s},
      {{1, 108}, "\0\0\0\0\0\0\0\x04\x01\0\0\0"s}};
  std::vector<std::string> frames;
  for (const auto& [numbers, data] : replies)
    frames.push_back(Reply{static_cast<std::uint16_t>(numbers.first), static_cast<std::uint16_t>(numbers.second),
                           static_cast<std::uint16_t>(0xF000 + frames.size()), data}
                         .Frame());
  return frames;
}

struct Told {
  std::string bytes;
  std::vector<std::string> lies;
};

Told Session(Liar& liar) {
  Told told;
  liar.BeginSession();
  for (const std::string& frame : HonestSession())
    for (const Act& act : liar.Answer({reinterpret_cast<const std::uint8_t*>(frame.data()), frame.size()})) {
      told.bytes += act.bytes;
      if (act.hangUp) return told;
    }
  return told;
}

TEST(Liar, says_the_same_for_the_same_seed) {
  const auto ignore = [](const std::string&) {};
  Liar one(7, ignore), again(7, ignore), other(8, ignore);
  std::set<std::string> sessions;
  std::string all, all_of_other;
  for (int session = 0; session < 20; ++session) {
    const std::string bytes = Session(one).bytes;
    EXPECT_EQ(bytes, Session(again).bytes);
    all += bytes;
    all_of_other += Session(other).bytes;
    sessions.insert(bytes);
  }
  EXPECT_NE(all, all_of_other);
  EXPECT_GT(sessions.size(), 10u);
}

TEST(Liar, knows_every_lie_and_some_honest_sessions) {
  std::set<std::string> told;
  const std::string honest = [] {
    std::string all;
    for (const std::string& frame : HonestSession()) all += frame;
    return all;
  }();
  int believed = 0;
  for (std::uint64_t seed = 1; seed <= 1000; ++seed) {
    Liar liar(seed, [&](const std::string& lie) { told.insert(lie.substr(0, lie.find(" in reply "))); });
    if (Session(liar).bytes == honest) ++believed;
  }
  EXPECT_GT(believed, 50);
  EXPECT_LT(believed, 800);
  for (const auto lies : {FrameLies(), ContentLies()})
    for (const Lie& lie : lies) EXPECT_TRUE(told.contains(lie.name)) << lie.name;
}

}  // namespace
}  // namespace brelix_phone::hostile
