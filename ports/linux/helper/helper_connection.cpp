#include "ports/linux/helper/helper_connection.h"

#include <poll.h>
#include <sys/socket.h>

#include <cerrno>

namespace revwarden {

bool HelperConnection::isGreeted(int process) {
  pollfd sources[] = {{socket_.get(), POLLIN, 0}, {process, POLLIN, 0}};
  while (::poll(sources, 2, -1) < 0) {
    if (errno != EINTR) return false;
  }
  return sources[0].revents != 0 && receiveMessage(socket_.get()) == HelperMessage{helperGreeting};
}

Result<std::string> HelperConnection::ask(const HelperMessage& request) {
  const std::lock_guard lock(oneRequest_);
  if (finished_) return Error{"", "the helper was stopped"};
  if (sendMessage(socket_.get(), request)) {
    const std::optional<HelperMessage> answer = receiveMessage(socket_.get());
    if (answer && answer->size() == 1) return answer->front();
    if (answer && answer->size() == 2) return Error{answer->front(), answer->back()};
  }
  return Error{"", "the helper has ended"};
}

bool HelperConnection::finish() {
  if (finished_.exchange(true)) return false;
  ::shutdown(socket_.get(), SHUT_WR);
  return true;
}

void HelperConnection::abandon() {
  finished_ = true;
  ::shutdown(socket_.get(), SHUT_RDWR);
}

}  // namespace revwarden
