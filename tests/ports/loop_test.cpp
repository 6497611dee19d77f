#include <gmock/gmock.h>
#include <sys/resource.h>

#include <chrono>
#include <future>
#include <thread>

#include "ports/linux/loop/detached_threads.h"
#include "ports/linux/loop/glib_run_loop.h"
#include "ports/posix/system_clock.h"

namespace revwarden {
namespace {

using testing::ElementsAre;
using Turn = RunLoop::Turn;

Date fromNow(double seconds) {
  return Date{SystemClock().now().secondsSince1970 + seconds};
}

class LoopTest : public testing::Test {
 protected:
  void note(const std::string& event) { events_.push_back(event); }

  /// Adds a source to the context that calls once, as GIO does.
  void request(std::function<void()> answer) {
    using Answer = std::function<void()>;
    GSource* const source = g_idle_source_new();
    g_source_set_priority(source, G_PRIORITY_DEFAULT);
    const auto call = [](gpointer held) -> gboolean {
      (*static_cast<Answer*>(held))();
      return G_SOURCE_REMOVE;
    };
    g_source_set_callback(source, call, new Answer(std::move(answer)),
                          [](gpointer held) { delete static_cast<Answer*>(held); });
    g_source_attach(source, loop_->context());
    g_source_unref(source);
  }

  const std::unique_ptr<GLibRunLoop> loop_ = GLibRunLoop::create();
  std::vector<std::string> events_;
};

TEST_F(LoopTest, ServesThePostsOfEachThreadInOrder) {
  constexpr int kThreads = 8, kCalls = 400;
  int seen[kThreads] = {}, running = kThreads;  // used only by the main thread
  for (int thread = 0; thread < kThreads; ++thread) {
    ASSERT_TRUE(DetachedThreads().detachNewThread([&, thread] {
      for (int call = 0; call < kCalls; ++call) {
        auto step = [&seen, thread, call] { EXPECT_EQ(seen[thread]++, call); };
        call % 7 ? loop_->post(step) : loop_->postAndWait(step);
      }
      loop_->post([&] {
        if (--running == 0) loop_->end();
      });
    }));
  }
  loop_->run();
  EXPECT_THAT(seen, testing::Each(kCalls));
}

TEST_F(LoopTest, AlternatesRequestsTimersAndPostsAlsoInNestedTurns) {
  std::function<void()> again = [&] { loop_->post(again); };  // must not starve the others
  std::unique_ptr<Timer> timer;
  std::thread worker;
  request([&] {
    note("request");
    again();
    // As "cancel" does in a request: run turns until a thread that needs the main thread is done.
    bool done = false;
    timer = loop_->addTimer(fromNow(-1), [&] {
      note("timer");
      request([&] { note("other request"); });
    });
    worker = std::thread([&] { loop_->postAndWait([&] { done = true; }); });
    while (!done || events_.size() < 3) loop_->runOneTurn(RunLoopMode::defaultMode);
    loop_->end();
  });
  loop_->run();
  worker.join();
  EXPECT_THAT(events_, ElementsAre("request", "timer", "other request"));
}

/// How often this thread woke, plus one for each 5 ms of CPU time.
long effort() {
  rusage usage{};
  getrusage(RUSAGE_THREAD, &usage);
  return usage.ru_nvcsw + (usage.ru_utime.tv_sec + usage.ru_stime.tv_sec) * 200 +
         (usage.ru_utime.tv_usec + usage.ru_stime.tv_usec) / 5000;
}

TEST_F(LoopTest, SleepsWhileIdle) {
  auto soon = loop_->addTimer(fromNow(0.05), [&] { note("timer"); });
  const long before = effort();
  std::thread poster([this] {
    std::this_thread::sleep_for(std::chrono::milliseconds(200));
    loop_->post([this] { note("post"); });
  });
  loop_->runOneTurn(RunLoopMode::modal);
  poster.join();
  EXPECT_LE(effort() - before, 8) << "a due timer must not keep a modal turn busy";
  loop_->runOneTurn(RunLoopMode::defaultMode);
  EXPECT_THAT(events_, ElementsAre("post", "timer"));
}

TEST_F(LoopTest, FiresTimersInOrderOfDateAndNeverEarly) {
  std::vector<std::unique_ptr<Timer>> timers;
  const auto add = [&](double date, const std::string& name) {
    timers.push_back(loop_->addTimer(Date{date}, [this, name] { note(name); }));
  };
  const Date soon = fromNow(0.15);
  add(1e300, "never");
  auto last = loop_->addTimer(soon, [&] { loop_->end(); });
  add(fromNow(0.1).secondsSince1970, "sooner");
  add(1, "long ago");
  add(-1e300, "longer ago");
  loop_->addTimer(fromNow(0.05), [&] { note("cancelled"); }).reset();
  loop_->run();
  EXPECT_THAT(events_, ElementsAre("longer ago", "long ago", "sooner"));
  EXPECT_GE(SystemClock().now(), soon);
}

TEST_F(LoopTest, DelaysAChainOfDueTimersButNoFutureTimer) {
  std::unique_ptr<Timer> chain, other;
  std::vector<double> fired;
  std::function<void()> plan = [&] {
    fired.push_back(fromNow(0).secondsSince1970);
    chain.reset();  // its own timer, from inside its action
    if (fired.size() == 3) return loop_->end();
    chain = loop_->addTimer(fromNow(-1), plan);
    if (!other) other = loop_->addTimer(fromNow(0.1), plan);
  };
  const double start = fromNow(0).secondsSince1970;
  chain = loop_->addTimer(fromNow(-1), plan);
  loop_->run();
  EXPECT_LT(fired[1], start + 0.8);  // `other`, which restarts the chain
  EXPECT_GE(fired[2], fired[1] + 0.99);
}

TEST_F(LoopTest, ReleasesWaitingThreadsWhenItEnds) {
  std::promise<void> queued;
  bool finished = false;
  std::thread waiting;
  std::thread running([&] {
    loop_->postAndWait([&] {
      waiting = std::thread([&] {
        loop_->post([&] { note("posted"); });
        queued.set_value();
        loop_->postAndWait([&] { note("waited"); });
      });
      queued.get_future().wait();
      std::thread([&] { loop_->end(); }).join();
      std::this_thread::sleep_for(
          std::chrono::milliseconds(50));  // a faulty postAndWait would return now
      finished = true;
    });
    EXPECT_TRUE(finished) << "the running call is awaited";
  });
  loop_->run();
  running.join();
  waiting.join();
  loop_->postAndWait([&] { note("late"); });
  EXPECT_THAT(events_, ElementsAre());
}

}  // namespace
}  // namespace revwarden
