// revwarden-helper [--data-home DIR]: carries out requests of the agent with its own rights, until
// the agent closes its end of the socket that is this program's standard input.
//
// With --data-home it works for the user PKEXEC_UID, whose data folder, with the Trash, is DIR.

#include <sys/stat.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <string_view>

#include "ports/linux/helper/helper_operations.h"

namespace revwarden {
namespace {

constexpr int kAgent = STDIN_FILENO;

int complain(const char* text) {
  std::fprintf(stderr, "revwarden-helper: %s\n", text);
  return 2;
}

int serve(HelperOperations operations) {
  if (!sendMessage(kAgent, {kHelperGreeting}))
    return complain("only revwarden-agent can start this program");
  while (const std::optional<HelperMessage> request = receiveMessage(kAgent)) {
    const HelperOperations::Answer answer = operations.carryOut(*request);
    if (!sendAnswer(kAgent, answer.result) || !answer.isKnown) return 1;
  }
  return 0;
}

int run(int argc, char** argv) {
  const bool worksForUser = argc == 3 && std::string_view(argv[1]) == "--data-home";
  if (argc != 1 && !worksForUser) return complain("the only option is --data-home DIR");
  ::umask(022);  // the user's own must not affect what is installed
  if (::chdir("/") != 0) return complain("cannot enter the root folder");
  std::optional<AskingUser> user;
  if (worksForUser) {
    ::setenv("XDG_DATA_HOME", argv[2], 1);
    const char* const uid = std::getenv("PKEXEC_UID");
    if (uid && !(user = askingUser(uid))) return complain("PKEXEC_UID is not the id of a user");
    if (user && user->uid == ::geteuid()) user.reset();  // no fewer rights
  }
  return serve(HelperOperations(user, kAgent));
}

}  // namespace
}  // namespace revwarden

int main(int argc, char** argv) {
  return revwarden::run(argc, argv);
}
