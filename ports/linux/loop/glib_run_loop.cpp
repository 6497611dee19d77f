#include "ports/linux/loop/glib_run_loop.h"

#include <utility>

namespace revwarden {

std::unique_ptr<GLibRunLoop> GLibRunLoop::create() {
  auto timers = WallClockTimers::create();
  if (!timers) return nullptr;
  return std::unique_ptr<GLibRunLoop>(new GLibRunLoop(std::move(timers)));
}

GLibRunLoop::GLibRunLoop(std::shared_ptr<WallClockTimers> timers)
    : mainThread_(std::this_thread::get_id()),
      context_(g_main_context_new()),
      timers_(std::move(timers)) {
  // This also makes the thread the owner of the context, which `anySourceReady` requires.
  g_main_context_push_thread_default(context_);
}

GLibRunLoop::~GLibRunLoop() {
  end();
  dropPosted();
  g_main_context_pop_thread_default(context_);
  g_main_context_unref(context_);
}

void GLibRunLoop::run() {
  while (runOneTurn(RunLoopMode::defaultMode) == Turn::handledOne) {
  }
}

void GLibRunLoop::end() {
  {
    const std::lock_guard lock(mutex_);
    ended_ = true;
    progressed_.notify_all();
  }
  g_main_context_wakeup(context_);
}

bool GLibRunLoop::isMainThread() const {
  return std::this_thread::get_id() == mainThread_;
}

void GLibRunLoop::post(std::function<void()> call) {
  PostedCall item{std::move(call), nullptr};  // if refused, destroyed after the lock is released
  const std::lock_guard lock(mutex_);
  enqueue(std::move(item));
}

void GLibRunLoop::postAndWait(std::function<void()> call) {
  if (isMainThread()) {
    if (!hasEnded()) call();
    return;
  }
  Progress progress = Progress::queued;
  PostedCall item{std::move(call), &progress};
  std::unique_lock lock(mutex_);
  if (!enqueue(std::move(item))) return;
  // A call that was running when the loop ended still uses what its caller owns: wait for it.
  progressed_.wait(
      lock, [&] { return progress == Progress::done || (ended_ && progress == Progress::queued); });
}

RunLoop::Turn GLibRunLoop::runOneTurn(RunLoopMode mode) {
  const bool servesTimers = mode == RunLoopMode::defaultMode;
  while (!hasEnded()) {
    const bool wait = !hasPosted() && !(servesTimers && timers_->isDue());
    bool ready[kKindCount];
    ready[kSources] = anySourceReady(mode, wait);
    ready[kPosted] = hasPosted();
    ready[kTimers] = servesTimers && timers_->isDue();
    for (int step = 1; step <= kKindCount; ++step) {
      const int kind = (lastServed_ + step) % kKindCount;
      if (!ready[kind]) continue;
      if (hasEnded()) break;
      lastServed_ = kind;
      serve(static_cast<Kind>(kind));
      return Turn::handledOne;
    }
  }
  dropPosted();
  return Turn::nothingToRun;
}

std::unique_ptr<Timer> GLibRunLoop::addTimer(Date fireDate, std::function<void()> action) {
  return timers_->add(fireDate, std::move(action));
}

bool GLibRunLoop::hasEnded() const {
  const std::lock_guard lock(mutex_);
  return ended_;
}

bool GLibRunLoop::hasPosted() const {
  const std::lock_guard lock(mutex_);
  return !queue_.empty();
}

bool GLibRunLoop::enqueue(PostedCall&& call) {
  if (ended_) return false;
  queue_.push_back(std::move(call));
  // No other wake-up is needed: the main thread does not wait while the queue is not empty.
  if (queue_.size() == 1 && !isMainThread()) g_main_context_wakeup(context_);
  return true;
}

bool GLibRunLoop::anySourceReady(RunLoopMode mode, bool wait) {
  gint priority = 0;
  gint timeout = 0;
  g_main_context_prepare(context_, &priority);
  size_t count = 0;
  for (;;) {
    count = static_cast<size_t>(g_main_context_query(
        context_, priority, &timeout, descriptors_.data(), static_cast<gint>(descriptors_.size())));
    if (count < descriptors_.size()) break;
    descriptors_.resize(count + 1);  // one more for the timers
  }
  const int timer = wait && mode == RunLoopMode::defaultMode ? timers_->arm() : -1;
  descriptors_[count] = GPollFD{timer, G_IO_IN, 0};
  g_poll(descriptors_.data(), static_cast<guint>(timer < 0 ? count : count + 1),
         wait ? timeout : 0);
  return g_main_context_check(context_, priority, descriptors_.data(), static_cast<gint>(count));
}

void GLibRunLoop::serve(Kind kind) {
  switch (kind) {
    case kPosted:
      return runPosted();
    case kSources:
      return g_main_context_dispatch(context_);
    default:
      return timers_->fireOne();
  }
}

void GLibRunLoop::runPosted() {
  PostedCall item{};
  {
    const std::lock_guard lock(mutex_);
    if (queue_.empty() || ended_) return;
    item = std::move(queue_.front());
    queue_.pop_front();
    if (item.progress) *item.progress = Progress::taken;
  }
  item.call();
  item.call = nullptr;  // release what it owns before the posting thread continues
  if (!item.progress) return;
  const std::lock_guard lock(mutex_);
  *item.progress = Progress::done;
  progressed_.notify_all();
}

void GLibRunLoop::dropPosted() {
  std::deque<PostedCall> dropped;  // destroyed after the lock is released
  const std::lock_guard lock(mutex_);
  dropped.swap(queue_);
}

}  // namespace revwarden
