// The commands of `brelix`, one row each.
#pragma once

#include <CLI/CLI.hpp>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "desktop/Session.h"
#include "desktop/cli/Output.h"

namespace brelix::cli {

// What the command line says.
struct Request {
  std::string device;
  bool json = false;
  double timeout_seconds = 10;
  std::string trace_path;

  // raw only
  std::string module, command;
  std::vector<std::string> hex;
  bool no_handshake = false;
  bool no_open = false;
};

struct Command {
  const char* name;
  const char* help;
  // Options and arguments of its own.
  void (*declare)(CLI::App& app, Request& request);
  // Anything wrong with the request that can be known before a phone is bothered; throws a usage failure.
  void (*check)(const Request& request);
  // The session is connected, nothing more.
  Exit (*run)(const Request& request, Session& session, Report& report);
};

std::span<const Command> Commands();

}  // namespace brelix::cli
