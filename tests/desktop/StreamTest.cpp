#include <gtest/gtest.h>

#include "desktop/ItemCollection.h"
#include "desktop/Stream.h"
#include "tests/desktop/ModelAgent.h"
#include "tests/support/Interrupts.h"

namespace brelix {
namespace {

using std::chrono::milliseconds;
using test::ModelAgent;

constexpr uint16_t kModule = 3, kCommand = 9;

std::unique_ptr<Link> Dial(const ModelAgent& agent, CancelFd cancel = -1) {
  return Connect(agent.Address(), Clock::now() + std::chrono::seconds(5), cancel);
}

Bytes Data(uint32_t number, size_t size) {
  Bytes data(size, 0x20);
  for (size_t i = 0; i < 4 && i < size; i++) data[i] = static_cast<uint8_t>(number >> 8 * i);
  return data;
}

// Asks so many times and returns the sizes of the answers.
std::vector<size_t> AskMany(Session& session, uint32_t count, size_t request_size = 4) {
  std::vector<size_t> sizes;
  Stream stream(session);
  for (uint32_t n = 1; n <= count; n++)
    stream.Ask(kModule, kCommand, Data(n, request_size), [&](const Result& r) { sizes.push_back(r.data.size()); });
  stream.Finish();
  return sizes;
}

// The agent of the model waits for bytes where a real one sleeps. Were a byte missing, the stream would notice after
// half a second of silence; were one missing for each request, the test would take minutes.
TEST(Stream, KeepsAnAgentInBytesUntilTheLastAnswer) {
  struct Row {
    size_t window, request, answer;
    uint32_t count;
  };
  const Row rows[] = {{2048, 4, 0, 5000}, {2048, 0, 600, 3000}, {2, 4, 10, 150},      {3, 5000, 10, 100},
                      {40, 4, 3000, 500}, {4000, 7, 1, 4500},   {2048, 4, 70000, 60}, {2048, 4, 900000, 5}};
  for (const Row& row : rows) {
    const auto start = Clock::now();
    ModelAgent agent([&](const Frame& request) { return ModelAgent::Reply(request, std::string(row.answer, 'a')); });
    {
      Session session(Dial(agent), {.timeout = milliseconds(20000), .window = row.window});
      EXPECT_EQ(AskMany(session, row.count, row.request), std::vector<size_t>(row.count, row.answer));
      EXPECT_EQ(session.AskResult(1, 7).data.size(), row.answer) << "one at a time afterwards";
    }
    const auto& seen = agent.Finish();
    ASSERT_EQ(seen.requests.size(), row.count + 1) << row.window;
    for (uint32_t n = 1; n <= row.count; n++) ASSERT_EQ(seen.requests[n - 1].data, Data(n, row.request));
    EXPECT_FALSE(seen.stuck);
    EXPECT_LT(seen.held, 16u) << "what is left of the filler";
    EXPECT_LT(Clock::now() - start, std::chrono::seconds(20)) << row.window << " " << row.answer;
  }
}

TEST(Stream, SendsNoMoreFillerThanItTakes) {
  const auto bytes_for = [](uint32_t count, size_t window, size_t answer) {
    ModelAgent agent([&](const Frame& request) { return ModelAgent::Reply(request, std::string(answer, 'a')); });
    {
      Session session(Dial(agent), {.timeout = milliseconds(20000), .window = window});
      AskMany(session, count, 4);
    }
    return agent.Finish().bytes - count * 20;
  };
  EXPECT_EQ(bytes_for(1, 2048, 4), 0u) << "a request alone";
  EXPECT_EQ(bytes_for(100, 1, 4), 0u) << "one by one";
  EXPECT_LE(bytes_for(2, 2048, 4), 16384u);
  // Some more at first, when few are asked for, since nobody knows how large the answers are.
  EXPECT_LE(bytes_for(8000, 2048, 4), 8 * 16384u) << "requests are filler for those before them";
  EXPECT_LE(bytes_for(3000, 2048, 1000), 3000u * 1000 / 4) << "a fraction of the answers";
}

Exit CodeOf(size_t window, const ModelAgent::Answer& answer, milliseconds timeout = milliseconds(15000)) {
  ModelAgent agent(answer);
  try {
    Session session(Dial(agent), {.timeout = timeout, .window = window});
    AskMany(session, 40);
    session.AskResult(1, 7);
  } catch (const Failure& failure) {
    return failure.code();
  }
  return Exit::kOk;
}

TEST(Stream, WhatIsNoAnswerIsTheSameFailureAsOneByOne) {
  struct Row {
    const char* name;
    ModelAgent::Answer instead;  // of the answer to the seventh
    Exit code;
  };
  const Row rows[] = {
      {"another number", [](const Frame& r) { return ModelAgent::Reply(r, "", r.module, 0x1122); }, Exit::kProtocol},
      {"another module", [](const Frame& r) { return ModelAgent::Reply(r, "", 4, r.number); }, Exit::kProtocol},
      {"twice", [](const Frame& r) { return ModelAgent::Reply(r, "") + ModelAgent::Reply(r, ""); }, Exit::kProtocol},
      {"never", [](const Frame&) { return std::string(); }, Exit::kProtocol},
      {"refused",
       [](const Frame& r) {
         std::string reply = ModelAgent::Reply(r, "");
         reply[9] = 0;
         return reply.erase(10, 4);
       },
       Exit::kRefused},
      {"too short",
       [](const Frame& r) {
         std::string reply = ModelAgent::Reply(r, "");
         reply[9] = 2;
         return reply.erase(10, 2);
       },
       Exit::kProtocol},
  };
  for (const Row& row : rows) {
    for (const size_t window : {size_t{1}, size_t{2048}}) {
      if (window == 1 && row.name == std::string("never")) continue;  // see below
      int n = 0;
      EXPECT_EQ(CodeOf(window, [&](const Frame& r) { return ++n == 7 ? row.instead(r) : ModelAgent::Reply(r, ""); }),
                row.code)
          << row.name << " " << window;
    }
  }
  // The answers to two requests change places; the last answer comes twice; nothing comes any more.
  std::string kept;
  int n = 0;
  EXPECT_EQ(CodeOf(2048,
                   [&](const Frame& r) {
                     if (++n == 7) return kept = ModelAgent::Reply(r, ""), std::string();
                     return n == 8 ? ModelAgent::Reply(r, "") + kept : ModelAgent::Reply(r, "");
                   }),
            Exit::kProtocol);
  n = 0;
  EXPECT_EQ(CodeOf(2048,
                   [&](const Frame& r) {
                     return ++n == 40 ? ModelAgent::Reply(r, "") + ModelAgent::Reply(r, "") : ModelAgent::Reply(r, "");
                   }),
            Exit::kProtocol);
  for (const size_t window : {size_t{1}, size_t{2048}}) {
    n = 0;
    EXPECT_EQ(CodeOf(
                  window, [&](const Frame& r) { return ++n >= 7 ? std::string() : ModelAgent::Reply(r, ""); },
                  milliseconds(700)),
              Exit::kLinkLost);
  }
}

TEST(Stream, EndsInTimeWhenThePeerStopsReading) {
  ModelAgent* stops = nullptr;
  int n = 0;
  ModelAgent agent([&](const Frame& request) {
    if (++n == 20) stops->StopReading();
    return ModelAgent::Reply(request, std::string(300000, 'a'));
  });
  stops = &agent;
  const auto start = Clock::now();
  try {
    Session session(Dial(agent), {.timeout = milliseconds(1500)});
    AskMany(session, 100000, 10000);
    ADD_FAILURE() << "nobody answered";
  } catch (const Failure& failure) {
    EXPECT_EQ(failure.code(), Exit::kLinkLost);
  }
  EXPECT_LT(Clock::now() - start, std::chrono::seconds(20));
}

TEST(Stream, TakesMayAskOnAndComeInTheOrderOfTheRequests) {
  for (const size_t window : {1, 2, 7, 2048}) {
    ModelAgent agent([](const Frame& request) {
      return ModelAgent::Reply(request, std::string(request.data.begin(), request.data.end()));
    });
    std::vector<Bytes> asked, taken;
    {
      Session session(Dial(agent), {.timeout = milliseconds(20000), .window = window});
      Stream stream(session);
      // A tree: each of the first answers asks for three more.
      std::function<void(uint32_t, int)> ask = [&](uint32_t n, int depth) {
        asked.push_back(Data(n, 4));
        stream.Ask(kModule, kCommand, Data(n, 4), [&, n, depth](const Result& result) {
          taken.push_back(result.data);
          for (uint32_t i = 0; depth < 4 && i < 3; i++) ask(n * 4 + i, depth + 1);
        });
      };
      ask(1, 0);
      stream.Finish();
      EXPECT_FALSE(stream.TakeOne());
    }
    EXPECT_EQ(taken.size(), 121u) << window;
    EXPECT_EQ(taken, asked) << window;
  }
}

// What a command that reads everything does when it is interrupted: the answers under way are taken in, and the session
// is closed.
TEST(Stream, AfterAnInterruptTakesInWhatIsUnderWayAndCloses) {
  const ::test::Interrupts interrupts;
  ModelAgent agent([](const Frame& request) { return ModelAgent::Reply(request, std::string(500, 'a')); });
  {
    Session session(Dial(agent, interrupts.descriptor()), {.timeout = milliseconds(20000)});
    session.Handshake();
    session.AskResult(1, 1);
    uint32_t taken = 0;
    try {
      Stream stream(session);
      for (uint32_t n = 1; n <= 100000; n++)
        stream.Ask(kModule, kCommand, Data(n, 4), [&](const Result&) {
          if (++taken == 1000) interrupts.Come(1);
        });
      ADD_FAILURE() << "not interrupted";
    } catch (const Failure& failure) {
      EXPECT_EQ(failure.code(), Exit::kInterrupted);
    }
    EXPECT_LT(taken, 10000u);
  }
  const auto& seen = agent.Finish();
  const Frame& last = seen.requests.back();
  EXPECT_EQ(std::make_pair(last.module, last.command), std::make_pair(uint16_t{1}, uint16_t{3})) << "close";
  EXPECT_LT(seen.held, 16u) << "nothing is left for the next desktop";
}

// Whoever interrupts twice waits for nothing more.
TEST(Stream, AfterASecondInterruptLeavesAtOnce) {
  const ::test::Interrupts interrupts;
  ModelAgent agent([](const Frame& request) { return ModelAgent::Reply(request, std::string(500, 'a')); });
  {
    Session session(Dial(agent, interrupts.descriptor()), {.timeout = milliseconds(20000)});
    session.Handshake();
    session.AskResult(1, 1);
    Stream stream(session);
    uint32_t taken = 0;
    EXPECT_THROW(
        {
          for (uint32_t n = 1; n <= 100000; n++)
            stream.Ask(kModule, kCommand, Data(n, 4), [&](const Result&) {
              if (++taken == 100) interrupts.Come(2);
            });
        },
        Failure);
  }
  EXPECT_EQ(agent.Finish().requests.back().module, kModule) << "neither close nor exit";
}

// Pictures: what is under way when the work ends is what has to be waited for.
TEST(Stream, AsksForFewUntilItIsKnownHowLargeTheAnswersAre) {
  ModelAgent agent([](const Frame& request) { return ModelAgent::Reply(request, std::string(60000, 'a')); });
  {
    Session session(Dial(agent), {.timeout = milliseconds(20000)});
    ItemCollection items(session, kModule);
    uint32_t told = 0;
    items.AskAll(500, [&](uint32_t, const Result&) { return ++told < 5; });
    EXPECT_EQ(told, 5u);
  }
  EXPECT_LT(agent.Finish().requests.size(), 40u);
}

// Filler and the nudges of a long wait together leave room for the next request.
TEST(Stream, ALongWaitDoesNotFillTheAgentsBuffer) {
  int n = 0;
  ModelAgent agent([&](const Frame& request) {
    if (++n == 1) std::this_thread::sleep_for(milliseconds(8300));
    return ModelAgent::Reply(request, "");
  });
  {
    Session session(Dial(agent), {.timeout = milliseconds(12000), .window = 2});
    EXPECT_EQ(AskMany(session, 6, 4).size(), 6u);
  }
  EXPECT_FALSE(agent.Finish().stuck);
}

TEST(Stream, AnAnswerThatIsNotWantedAnyMoreIsPassedOverOnce) {
  int n = 0;
  uint16_t first = 0;
  ModelAgent agent([&](const Frame& request) {
    if (++n == 1) return first = request.number, std::string();
    const std::string late = ModelAgent::Reply(request, "", request.module, first);
    return n == 2 ? late + ModelAgent::Reply(request, "") : late;
  });
  Session session(Dial(agent), {.timeout = milliseconds(600)});
  const auto code = [&] {
    try {
      AskMany(session, 1);
    } catch (const Failure& failure) {
      return failure.code();
    }
    return Exit::kOk;
  };
  EXPECT_EQ(code(), Exit::kLinkLost);
  EXPECT_EQ(code(), Exit::kOk);
  EXPECT_EQ(code(), Exit::kProtocol) << "a flood of them would have no end";
}

TEST(Stream, AnAnswerIsNotLateWhileItComes) {
  for (const size_t window : {1, 2048}) {
    ModelAgent agent([](const Frame& request) {
      return ModelAgent::Reply(request, std::string(request.data.size() == 4 ? 3000 : 100000, 'a'));
    });
    agent.SendSlowly(100, milliseconds(30));
    Session session(Dial(agent), {.timeout = milliseconds(250), .window = window});
    EXPECT_EQ(AskMany(session, 1, 4), std::vector<size_t>{3000});
    const auto start = Clock::now();
    EXPECT_THROW(AskMany(session, 1, 5), Failure) << "but one without an end is";
    EXPECT_LT(Clock::now() - start, std::chrono::seconds(20));
  }
}

TEST(Stream, ReadOnlyIsRefusedBeforeAnythingIsSent) {
  ModelAgent agent([](const Frame& request) { return ModelAgent::Reply(request, ""); });
  {
    Session session(Dial(agent), {.read_only = true});
    Stream stream(session);
    EXPECT_THROW(stream.Ask(3, 13, {}, [](const Result&) {}), Failure);
    EXPECT_THROW(session.AskResult(1, 7), Failure) << "not in the middle of a stream";
  }
  EXPECT_EQ(agent.Finish().bytes, 0u);
}

}  // namespace
}  // namespace brelix
