#include "ports/linux/loop/detached_threads.h"

#include <system_error>
#include <thread>
#include <utility>

namespace revwarden {

bool DetachedThreads::detachNewThread(std::function<void()> body) {
  try {
    std::thread(std::move(body)).detach();
    return true;
  } catch (const std::system_error&) {
    return false;
  }
}

}  // namespace revwarden
