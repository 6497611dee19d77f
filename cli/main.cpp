#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>

#include <CLI/CLI.hpp>

#include "cli/commands.h"
#include "ports/posix/natural_versions.h"
#include "protocol/socket_path.h"

namespace revwarden {
namespace {

// The command line as it was given.
struct Arguments {
  std::string socketPath = defaultSocketPath();
  bool json = false;
  ListOptions list;
  std::string name;
  std::vector<std::string> names;
  JobSelection jobs;
  std::optional<std::string> settingKey;
  std::optional<std::string> settingValue;
  std::vector<std::string> answer;
};

int runCommand(const std::string& command, const Arguments& arguments, CommandContext& context) {
  if (command == "list") return runList(context, arguments.list);
  if (command == "show") return runShow(context, arguments.name);
  if (command == "check") return runCheck(context);
  if (command == "update") return runUpdate(context, arguments.jobs);
  if (command == "cancel") return runCancel(context, arguments.jobs);
  if (command == "star" || command == "unstar") {
    return runStar(context, arguments.names, command == "star");
  }
  if (command == "ignore" || command == "unignore") {
    return runIgnore(context, arguments.names, command == "ignore");
  }
  if (command == "watch") return runWatch(context);
  if (command == "status") return runStatus(context);
  if (command == "settings") {
    return runSettings(context, arguments.settingKey, arguments.settingValue);
  }
  if (arguments.answer.empty()) return runNotices(context, std::nullopt);
  return runNotices(context, NoticeAnswer{arguments.answer[0], arguments.answer[1][0] - '0'});
}

constexpr char kNameHelp[] = "a name, a bundle identifier, a path or an id";

void addJobCommand(CLI::App& app, JobSelection& jobs, const char* command, const char* help,
                   const char* allHelp) {
  CLI::App* const added = app.add_subcommand(command, help);
  added->add_option("NAME", jobs.names, kNameHelp);
  added->add_flag("--all", jobs.all, allHelp);
}

void addItemCommands(CLI::App& app, Arguments& arguments) {
  CLI::App* list = app.add_subcommand("list", "All applications on record");
  list->add_flag("--outdated", arguments.list.outdated,
                 "Only those with a newer version on offer that are not ignored");
  list->add_flag("--all", arguments.list.all, "With --outdated: the ignored ones too");
  app.add_subcommand("show", "Everything about one application")
      ->add_option("NAME", arguments.name, kNameHelp)
      ->required();
  app.add_subcommand("check", "Look for applications and updates now, and tell what is new");
  addJobCommand(app, arguments.jobs, "update", "Install updates, and show how that goes",
                "All that are outdated and not ignored");
  addJobCommand(app, arguments.jobs, "cancel", "Take applications out of the install queue",
                "All that are in the queue");
  const std::pair<const char*, const char*> perItem[] = {
      {"star", "Star applications"},
      {"unstar", "Take stars away"},
      {"ignore", "Put applications on the black list: no notices about their updates"},
      {"unignore", "Take applications off the black list"},
  };
  for (const auto& [command, help] : perItem) {
    app.add_subcommand(command, help)->add_option("NAME", arguments.names, kNameHelp)->required();
  }
}

void addAgentCommands(CLI::App& app, Arguments& arguments) {
  app.add_subcommand("watch", "Print what happens in the agent, until interrupted");
  app.add_subcommand("status", "The agent, its checks, and what is missing on this machine");
  CLI::App* settings = app.add_subcommand("settings", "Show or change the switches");
  settings->add_option("KEY", arguments.settingKey, "the switch");
  settings->add_option("VALUE", arguments.settingValue, "on or off");
  app.add_subcommand("notices", "Show the open notices and answer them")
      ->add_option("--answer", arguments.answer,
                   "Answer notice ID with BUTTON: 1, 2, or 0 to dismiss")
      ->expected(2)
      ->type_name("ID BUTTON");
}

void addArguments(CLI::App& app, Arguments& arguments) {
  app.require_subcommand(1);
  app.fallthrough();
  app.set_version_flag("--version", "revwarden " REVWARDEN_VERSION);
  app.add_option("--socket", arguments.socketPath, "The agent's socket")->type_name("PATH");
  app.add_flag("--json", arguments.json, "Print JSON");
  addItemCommands(app, arguments);
  addAgentCommands(app, arguments);
}

// What the parser cannot tell; empty when all is well.
std::string faultOf(const std::string& command, const Arguments& arguments) {
  const std::vector<std::string>& answer = arguments.answer;
  if (!answer.empty() && answer[1] != "0" && answer[1] != "1" && answer[1] != "2") {
    return "A notice is answered with 1, 2 or 0.";
  }
  const bool isJobCommand = command == "update" || command == "cancel";
  if (isJobCommand && arguments.jobs.names.empty() != arguments.jobs.all) {
    return "Say what to " + command + ": either applications by NAME, or --all.";
  }
  return {};
}

int runProgram(int argc, char** argv) {
  CLI::App app("Looks after the updates of installed applications.", "revwarden");
  Arguments arguments;
  addArguments(app, arguments);
  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    if (error.get_exit_code() == 0) return app.exit(error);  // help or the version
    const bool unknown = app.get_subcommands().empty() && !app.remaining().empty();
    complain(unknown ? "There is no command \"" + cleaned(app.remaining().front()) + "\"."
                     : cleaned(error.what()));
    complain("\"revwarden --help\" tells what there is.");
    return kUsage;
  }
  const std::string command = app.get_subcommands().front()->get_name();
  if (const std::string fault = faultOf(command, arguments); !fault.empty()) {
    complain(fault);
    return kUsage;
  }
  const auto agent = AgentSession::create(arguments.socketPath);
  if (!agent) return kNoAgent;
  const NaturalVersions versions;
  CommandContext context{*agent, versions, Terminal::ofStandardOutput(), arguments.json};
  return runCommand(command, arguments, context);
}

}  // namespace
}  // namespace revwarden

int main(int argc, char** argv) {
  std::signal(SIGPIPE, SIG_IGN);  // a reader that goes away shows as an error of the write
  const int status = revwarden::runProgram(argc, argv);
  if (!revwarden::outputIsLost()) return status;
  if (errno != EPIPE) revwarden::complain(std::string("Cannot write: ") + std::strerror(errno));
  return revwarden::kFailed;
}
