#pragma once

#include <glib.h>

#include <condition_variable>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

#include "platform/run_loop.h"
#include "ports/linux/loop/wall_clock_timers.h"

namespace revwarden {

/// The main thread's loop on a GLib context.
///
/// GLib waits. Posted calls are in a queue of this class, timers in `WallClockTimers`, and requests
/// of clients are sources on `context()`. Each turn serves one of the three kinds; if several are
/// ready they alternate, so that none starves another. Nested turns are possible: whatever runs was
/// taken out of its queue first. A source that must be served in nested turns has to allow
/// recursion (g_source_set_can_recurse). Sources that are ready at the same time with the same
/// priority are dispatched in one turn.
///
/// The thread that creates the loop is the main thread. It must also destroy it.
class GLibRunLoop final : public RunLoop {
 public:
  /// Returns nullptr if the system has no timer left. While the loop exists, `context()` is the
  /// main thread's default context, so GIO delivers there what is started on that thread.
  static std::unique_ptr<GLibRunLoop> create();

  /// No thread may use the loop or wait in it any more.
  ~GLibRunLoop() override;
  GLibRunLoop(const GLibRunLoop&) = delete;
  GLibRunLoop& operator=(const GLibRunLoop&) = delete;

  /// Main thread: runs turns in the default mode until the loop ends.
  void run();

  /// Ends the loop for good: the running call is the last one. Queued calls do not run; threads
  /// that wait for one return. Any thread, any number of times.
  void end();

  /// The context for sources of the host. Owned by the loop.
  GMainContext* context() const { return context_; }

  bool isMainThread() const override;
  void post(std::function<void()> call) override;
  void postAndWait(std::function<void()> call) override;
  Turn runOneTurn(RunLoopMode mode) override;
  [[nodiscard]] std::unique_ptr<Timer> addTimer(Date fireDate,
                                                std::function<void()> action) override;

 private:
  enum class Progress { queued, taken, done };
  struct PostedCall {
    std::function<void()> call;
    Progress* progress;  // of the thread that waits for it, guarded by mutex_; null without one
  };
  /// What a turn can serve, in the order of alternation.
  enum Kind { kPosted, kSources, kTimers, kKindCount };

  explicit GLibRunLoop(std::shared_ptr<WallClockTimers> timers);

  bool hasEnded() const;
  bool hasPosted() const;
  /// Queues the call. Returns false if the loop has ended. The mutex must be held.
  bool enqueue(PostedCall&& call);
  bool anySourceReady(RunLoopMode mode, bool wait);
  void serve(Kind kind);
  void runPosted();
  void dropPosted();

  const std::thread::id mainThread_;
  GMainContext* const context_;
  const std::shared_ptr<WallClockTimers> timers_;
  std::vector<GPollFD> descriptors_;  // main thread
  int lastServed_ = kTimers;          // main thread

  mutable std::mutex mutex_;
  std::condition_variable progressed_;  // a waited call is done, or the loop has ended
  std::deque<PostedCall> queue_;        // by mutex_
  bool ended_ = false;                  // by mutex_
};

}  // namespace revwarden
