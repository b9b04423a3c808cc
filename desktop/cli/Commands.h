// The commands of `brelix`. A group declares its commands on the parser; the command that the user chose leaves in
// `chosen` what is to be done once a phone is there.
//
//     void DeclareThings(CLI::App& app, Action& chosen) {
//       CLI::App* things = AddGroup(app, "things", "What the phone has of things");
//       auto number = std::make_shared<uint32_t>();
//       CLI::App* get = things->add_subcommand("get", "Show one thing");
//       get->add_option("N", *number, "Its number")->required();
//       get->callback([number, &chosen] {
//         CheckThing(*number);  // what can be known before a phone is bothered; throws a usage failure
//         chosen = [number](Context& context) { return ShowThing(context, *number); };
//       });
//     }
#pragma once

#include <CLI/CLI.hpp>
#include <concepts>
#include <functional>
#include <span>
#include <string>

#include "desktop/Client.h"
#include "desktop/Session.h"
#include "desktop/cli/Output.h"

namespace brelix::cli {

// What the command line says to every command.
struct Options {
  std::string device;
  bool json = false;
  bool read_only = false;
  double timeout_seconds = 10;
  size_t window = wire::kWindow;
  std::string trace_path;
  BluetoothOptions bluetooth;
  CancelFd cancel = -1;  // for commands that look for their phones themselves, or read folders
};

// What a command works with. The session is connected, nothing more: most begin with phone.Start().
struct Context {
  const Options& options;
  Session& session;
  Client phone{session};
  Report report{};  // printed when the session is closed, where anything was added
};

// What is to be done: with a phone, or, for what can be said without one, before a phone is looked for.
class Action {
 public:
  Action() = default;
  template <std::invocable<Context&> F>
  Action(F on_phone) : on_phone(std::move(on_phone)) {}
  static Action WithoutPhone(std::function<Exit(const Options&)> act) {
    Action action;
    action.without_phone = std::move(act);
    return action;
  }

  std::function<Exit(Context&)> on_phone;
  // What comes before the phone is looked for, where there is something to read or to say first.
  std::function<void(const Options&)> before_phone;
  std::function<Exit(const Options&)> without_phone;
  // In place of on_phone where the user named no phone, for what can be done with one and without.
  std::function<Exit(const Options&)> without_device;
};

struct Group {
  const char* name;  // of the command or the group of commands
  void (*declare)(CLI::App& app, Action& chosen);
};

// In the order in which the help lists them.
std::span<const Group> Groups();

// A command that has commands.
CLI::App* AddGroup(CLI::App& app, const std::string& name, const std::string& help);

}  // namespace brelix::cli
