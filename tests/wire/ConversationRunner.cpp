// Runs conversations against an agent and tells where they differ.
//
//   conversation_runner --phone-tool brelix-phone [--rapi COMMAND] [--serve COMMAND [--serve-at PATH]] FILE...
//
// In the commands {phone} stands for the phone's folder and {address} for where to listen; a command that listens where
// it likes is reached by the socket PATH.
#include <CLI/CLI.hpp>
#include <fmt/format.h>
#include <fstream>
#include <memory>
#include <signal.h>

#include "tests/support/TemporaryFolder.h"
#include "tests/wire/Conversation.h"
#include "tests/wire/Endpoint.h"

namespace test {
namespace {

std::string Fill(std::string command, const std::string& place, const std::string& value) {
  for (std::size_t at = command.find(place); at != std::string::npos; at = command.find(place, at + value.size())) {
    command.replace(at, place.size(), value);
  }
  return command;
}

struct Commands {
  std::string phoneTool;
  std::string rapi;
  std::string serve;
  std::string serveAt;
};

std::unique_ptr<Endpoint> StartAgent(const Conversation& conversation, const Commands& commands,
                                     const std::filesystem::path& folder) {
  const std::filesystem::path description = folder / "phone.json";
  std::ofstream(description) << conversation.phone;
  const std::string phone = (folder / "phone").string();
  const std::string init = fmt::format("{} init {} --from {} 2>{}/init.log", commands.phoneTool, phone,
                                       description.string(), folder.string());
  if (std::system(init.c_str()) != 0) {
    throw std::runtime_error("the phone could not be made: " + ReadFile(folder / "init.log"));
  }
  if (!conversation.listens) return std::make_unique<StreamEndpoint>(Fill(commands.rapi, "{phone}", phone));
  const std::string path =
      commands.serveAt.empty() ? (folder / "socket").string() : Fill(commands.serveAt, "{phone}", phone);
  return std::make_unique<SocketEndpoint>(Fill(Fill(commands.serve, "{phone}", phone), "{address}", "unix:" + path),
                                          path);
}

void ExpectHeard(Endpoint& agent, const Step& step) {
  const Bytes heard = agent.Hear(step.bytes.size());
  if (heard != step.bytes) {
    throw std::runtime_error(
        fmt::format("line {}:\n  expected {}\n  heard    {}", step.line, ToHex(step.bytes), ToHex(heard)));
  }
}

void RunSteps(Endpoint& agent, const std::vector<Step>& steps) {
  for (const Step& step : steps) {
    switch (step.kind) {
      case Step::Kind::kSay:
        agent.Say(step.bytes);
        break;
      case Step::Kind::kHear:
        ExpectHeard(agent, step);
        break;
      case Step::Kind::kHangUp:
        agent.HangUp();
        break;
      case Step::Kind::kNextSession:
        agent.NextSession();
        break;
      case Step::Kind::kHearEnd:
        if (!agent.HearEnd()) throw std::runtime_error(fmt::format("line {}: the stream is not at its end", step.line));
        break;
    }
  }
}

bool RunFile(const std::filesystem::path& file, const Commands& commands) {
  try {
    const Conversation conversation = ReadConversation(file);
    const TemporaryFolder folder;
    const std::unique_ptr<Endpoint> agent = StartAgent(conversation, commands, folder.Path());
    RunSteps(*agent, conversation.steps);
    if (!agent->Finish()) throw std::runtime_error("the agent said more, or its process did not end with exit code 0");
    fmt::print("{}: as written\n", file.filename().string());
    return true;
  } catch (const std::exception& error) {
    fmt::print("{}: {}\n", file.string(), error.what());
    return false;
  }
}

}  // namespace
}  // namespace test

int main(int argc, char** argv) {
  signal(SIGPIPE, SIG_IGN);
  CLI::App app("Runs conversations against an agent.", "conversation_runner");
  test::Commands commands;
  std::vector<std::filesystem::path> files;
  app.add_option("--phone-tool", commands.phoneTool, "The brelix-phone that makes the phones")->required();
  app.add_option("--rapi", commands.rapi, "Serves {phone} over standard input and output");
  app.add_option("--serve", commands.serve, "Serves {phone}, listening on {address}");
  app.add_option("--serve-at", commands.serveAt, "The socket by which that is reached");
  app.add_option("FILE", files, "Conversations")->required();
  CLI11_PARSE(app, argc, argv);
  bool good = true;
  for (const auto& file : files) good = test::RunFile(file, commands) && good;
  return good ? 0 : 1;
}
