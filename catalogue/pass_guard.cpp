#include "catalogue/pass_guard.h"

#include <utility>

#include "platform/platform.h"
#include "platform/run_loop.h"
#include "platform/threads.h"

namespace revwarden {

void PassGuard::start(std::function<void()> body) {
  willStartUpdate();
  const auto thread = [agent = mediator_.agentReference(), platform = platform_,
                       body = std::move(body)]() mutable {
    body();
    // If this is the last reference, the agent is destroyed on the main thread.
    platform->mainLoop.post([last = std::move(agent)] {});
  };
  if (!platform_->threads.detachNewThread(thread)) didFinishUpdate();
}

void PassGuard::finish() {
  onMainThread([this] { didFinishUpdate(); });
}

void PassGuard::onMainThread(std::function<void()> call) {
  platform_->mainLoop.postAndWait(std::move(call));
}

void PassGuard::willStartUpdate() {
  updateIsInProgress_ = true;
  mediator_.sendDidStartValidateItem();
}

// Sends the event last, so that its receiver finds the pass ended and the next check scheduled.
void PassGuard::didFinishUpdate() {
  updateIsInProgress_ = false;
  mediator_.scheduleNextUpdate();
  mediator_.sendDidFinishValidateItem();
}

}  // namespace revwarden
