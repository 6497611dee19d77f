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
/// GLib waits and wakes. The posted calls are a queue of its own under a mutex, the timers stand
/// beside it, and the sources on `context()` are the requests of clients. Each turn serves one of
/// the three kinds; when several are ready they take turns, so that none starves another. Nested
/// turns work because whatever is run was taken out of its queue first; a source that is to be
/// served in them must allow to recurse (g_source_set_can_recurse). Sources on the context that are
/// ready at the same moment with the same priority are dispatched in one turn.
///
/// The thread that creates it is the main thread, and destroys it.
class GLibRunLoop final : public RunLoop {
 public:
  /// nullptr when the system can give no timer. As long as it lives, `context()` is the main
  /// thread's default context, so what GIO starts on that thread is answered there.
  static std::unique_ptr<GLibRunLoop> create();

  /// Nobody may use the loop or wait in it any longer.
  ~GLibRunLoop() override;
  GLibRunLoop(const GLibRunLoop&) = delete;
  GLibRunLoop& operator=(const GLibRunLoop&) = delete;

  /// Main thread: turns in the default mode until the loop has ended.
  void run();

  /// Ends the loop for good: the running call is the last one. Calls still queued are not run;
  /// those who wait for one are released. Any thread, any number of times.
  void end();

  /// Where sources of the host belong. Owned by the loop.
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
  /// What a turn can serve, in the order that they take turns.
  enum Kind { kPosted, kSources, kTimers, kKindCount };

  explicit GLibRunLoop(std::shared_ptr<WallClockTimers> timers);

  bool hasEnded() const;
  bool hasPosted() const;
  /// Queues the call, unless the loop has ended; whether it did. Needs the mutex.
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
