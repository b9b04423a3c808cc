#include <csignal>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <string>
#include <sys/socket.h>
#include <thread>

#include "handset/net/RapiStream.h"
#include "handset/net/UniqueFd.h"
#include "tests/support/TestPhone.h"

namespace {

using handset::Held;
using handset::UniqueFd;

struct SocketStream {
  SocketStream() {
    int ends[2];
    EXPECT_EQ(socketpair(AF_UNIX, SOCK_STREAM, 0, ends), 0);
    peer = UniqueFd(ends[1]);
    stream = handset::NewDescriptorStream(ends[0], ends[0]);
  }
  UniqueFd peer;
  ce::IRAPIStream* stream = nullptr;
};

TEST(Stream, reads_what_is_there_and_ends_with_a_reset) {
  test::BarePhone phone;
  SocketStream s;
  ASSERT_EQ(send(s.peer.Get(), "hello", 5, 0), 5);
  char buffer[16];
  ce::ULONG read = 0;
  EXPECT_EQ(s.stream->Read(buffer, 1, &read), ce::S_OK);
  EXPECT_EQ(std::string(buffer, read), "h");
  EXPECT_EQ(s.stream->Read(buffer, sizeof(buffer), &read), ce::S_OK);
  EXPECT_EQ(std::string(buffer, read), "ello") << "fewer than asked for, without waiting for more";
  std::thread late([&] {
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    send(s.peer.Get(), "!", 1, 0);
  });
  EXPECT_EQ(s.stream->Read(buffer, sizeof(buffer), &read), ce::S_OK);
  EXPECT_EQ(read, 1U) << "waits for the first byte";
  late.join();
  s.peer = UniqueFd();
  EXPECT_EQ(s.stream->Read(buffer, sizeof(buffer), &read), ce::kRapiConnectionReset);
  ce::ULONG written = 99;
  EXPECT_EQ(s.stream->Write("x", 1, &written), ce::kRapiConnectionReset);
  EXPECT_EQ(written, 0U);
  EXPECT_EQ(s.stream->Release(), 0U);
}

TEST(Stream, writes_everything_and_closes_its_descriptor_at_the_last_release) {
  test::BarePhone phone;
  SocketStream s;
  ASSERT_EQ(fcntl(s.peer.Get(), F_SETFL, 0), 0);
  const std::string much(1 << 20, 'y');
  std::string received;
  std::thread reader([&] {
    char sink[65536];
    for (ssize_t got; (got = recv(s.peer.Get(), sink, sizeof(sink), 0)) > 0;) received.append(sink, got);
  });
  ce::ULONG written = 0;
  EXPECT_EQ(s.stream->Write(much.data(), static_cast<ce::ULONG>(much.size()), &written), ce::S_OK);
  EXPECT_EQ(written, much.size());
  EXPECT_EQ(s.stream->AddRef(), 2U);
  EXPECT_EQ(s.stream->Release(), 1U);
  EXPECT_EQ(phone->GetLedger().Count(Held::kComReference), 1U);
  EXPECT_EQ(s.stream->Release(), 0U);
  reader.join();
  EXPECT_EQ(received, much);
}

TEST(Stream, works_over_pipes_that_do_not_block) {
  test::BarePhone phone;
  const auto before = std::signal(SIGPIPE, SIG_IGN);
  int in[2];
  int out[2];
  ASSERT_EQ(pipe2(in, O_NONBLOCK), 0);
  ASSERT_EQ(pipe2(out, O_NONBLOCK), 0);
  UniqueFd say(in[1]);
  UniqueFd hear(out[0]);
  ce::IRAPIStream* stream = handset::NewDescriptorStream(in[0], out[1]);
  std::thread late([&] {
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    EXPECT_EQ(write(say.Get(), "a", 1), 1);
    say = UniqueFd();
  });
  char byte = 0;
  ce::ULONG count = 0;
  EXPECT_EQ(stream->Read(&byte, 1, &count), ce::S_OK);
  late.join();
  EXPECT_EQ(stream->Read(&byte, 1, &count), ce::kRapiConnectionReset);
  EXPECT_EQ(stream->Write("b", 1, &count), ce::S_OK);
  hear = UniqueFd();
  EXPECT_EQ(stream->Write("b", 1, &count), ce::kRapiConnectionReset);
  EXPECT_EQ(stream->Release(), 0U);
  std::signal(SIGPIPE, before);
}

}  // namespace
