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
  CLI::App* list = app.add_subcommand("list", "list all applications");
  list->add_flag("--outdated", arguments.list.outdated,
                 "only those with a newer version on offer that are not ignored");
  list->add_flag("--all", arguments.list.all, "with --outdated: include the ignored ones");
  app.add_subcommand("show", "show all about one application")
      ->add_option("NAME", arguments.name, kNameHelp)
      ->required();
  app.add_subcommand("check", "search for applications and updates now, and print what is new");
  addJobCommand(app, arguments.jobs, "update",
                "install updates, and show their progress and results",
                "update all that are outdated and not ignored");
  addJobCommand(app, arguments.jobs, "cancel", "remove applications from the install queue",
                "cancel all that are in the queue");
  const std::pair<const char*, const char*> perItem[] = {
      {"star", "star applications"},
      {"unstar", "remove stars"},
      {"ignore", "add applications to the black list: no notices about their updates"},
      {"unignore", "remove applications from the black list"},
  };
  for (const auto& [command, help] : perItem) {
    app.add_subcommand(command, help)->add_option("NAME", arguments.names, kNameHelp)->required();
  }
}

void addAgentCommands(CLI::App& app, Arguments& arguments) {
  app.add_subcommand("watch", "print the agent's events until interrupted");
  app.add_subcommand("status", "show the agent, its checks, and missing programs");
  CLI::App* settings = app.add_subcommand("settings", "show or change settings");
  settings->add_option("KEY", arguments.settingKey, "the name of the setting");
  settings->add_option("VALUE", arguments.settingValue, "on or off");
  app.add_subcommand("notices", "show the open notices and answer them")
      ->add_option("--answer", arguments.answer,
                   "answer notice ID with BUTTON: 1, 2, or 0 to dismiss")
      ->expected(2)
      ->type_name("ID BUTTON");
}

void addArguments(CLI::App& app, Arguments& arguments) {
  app.require_subcommand(1);
  app.fallthrough();
  app.set_help_flag("-h,--help", "print this help and exit");
  app.set_version_flag("--version", "revwarden " REVWARDEN_VERSION, "print the version and exit");
  app.footer(
      "Exit status: 0 success, 1 failure, 2 usage error, 3 no agent. \"update\" fails if an "
      "update\n"
      "failed or was refused, dropped or cancelled; \"check\" if the update service gave no "
      "answer.");
  app.add_option("--socket", arguments.socketPath, "connect to the agent at this socket")
      ->type_name("PATH");
  app.add_flag("--json", arguments.json, "print JSON");
  addItemCommands(app, arguments);
  addAgentCommands(app, arguments);
}

// Returns an error that the parser does not find; empty if there is none.
std::string faultOf(const std::string& command, const Arguments& arguments) {
  const std::vector<std::string>& answer = arguments.answer;
  if (!answer.empty() && answer[1] != "0" && answer[1] != "1" && answer[1] != "2") {
    return "Invalid button \"" + cleaned(answer[1]) + "\": answer a notice with 1, 2 or 0.";
  }
  const bool isJobCommand = command == "update" || command == "cancel";
  if (isJobCommand && arguments.jobs.names.empty() != arguments.jobs.all) {
    return "\"" + command + "\" needs either application NAMEs or --all.";
  }
  return {};
}

int runProgram(int argc, char** argv) {
  CLI::App app(
      "Shows and controls what revwarden-agent does: lists applications, checks for updates and\n"
      "installs them.",
      "revwarden");
  Arguments arguments;
  addArguments(app, arguments);
  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    if (error.get_exit_code() == 0) return app.exit(error);  // help or the version
    const bool unknown = app.get_subcommands().empty() && !app.remaining().empty();
    complain(unknown ? "Unknown command \"" + cleaned(app.remaining().front()) + "\"."
                     : cleaned(error.what()));
    complain("\"revwarden --help\" lists the commands.");
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
  std::signal(SIGPIPE, SIG_IGN);  // a closed pipe is reported as a write error
  const int status = revwarden::runProgram(argc, argv);
  if (!revwarden::outputIsLost()) return status;
  if (errno != EPIPE) revwarden::complain(std::string("Cannot write: ") + std::strerror(errno));
  return revwarden::kFailed;
}
