#include "agent/background_pass.h"

#include <utility>

#include "platform/platform.h"
#include "platform/run_loop.h"
#include "platform/threads.h"

namespace revwarden {

void BackgroundPass::start(std::function<void()> body) {
  willStartUpdate();
  const auto thread = [agent = mediator_.agentReference(), platform = platform_,
                       body = std::move(body)]() mutable {
    body();
    // The agent must not be destroyed on this thread.
    platform->mainLoop.post([last = std::move(agent)] {});
  };
  if (!platform_->threads.detachNewThread(thread)) didFinishUpdate();
}

void BackgroundPass::finish() {
  onMainThread([this] { didFinishUpdate(); });
}

void BackgroundPass::onMainThread(std::function<void()> call) {
  platform_->mainLoop.postAndWait(std::move(call));
}

void BackgroundPass::willStartUpdate() {
  updateIsInProgress_ = true;
  mediator_.sendDidStartValidateItem();
}

void BackgroundPass::didFinishUpdate() {
  updateIsInProgress_ = false;
  mediator_.scheduleNextUpdate();
  mediator_.sendDidFinishValidateItem();
}

}  // namespace revwarden
