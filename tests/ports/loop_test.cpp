#include <glib-unix.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <cmath>
#include <functional>
#include <future>
#include <limits>
#include <string>
#include <thread>
#include <vector>

#include "ports/linux/detached_threads.h"
#include "ports/linux/glib_run_loop.h"
#include "ports/posix/system_clock.h"

namespace revwarden {
namespace {

using testing::ElementsAre;
using Turn = RunLoop::Turn;

Date fromNow(double seconds) {
  return Date{SystemClock().now().secondsSince1970 + seconds};
}

/// A client of the main thread: each byte sent is one request.
class Client {
 public:
  Client(GLibRunLoop& loop, std::function<void(char)> request) : request_(std::move(request)) {
    EXPECT_EQ(pipe2(ends_, O_CLOEXEC | O_NONBLOCK), 0);
    source_ = g_unix_fd_source_new(ends_[0], G_IO_IN);
    g_source_set_can_recurse(source_, TRUE);
    g_source_set_callback(source_, G_SOURCE_FUNC(readable), this, nullptr);
    g_source_attach(source_, loop.context());
  }
  ~Client() {
    g_source_destroy(source_);
    g_source_unref(source_);
    close(ends_[0]);
    close(ends_[1]);
  }

  void send(char request) { EXPECT_EQ(write(ends_[1], &request, 1), 1); }

 private:
  static gboolean readable(gint end, GIOCondition, gpointer self) {
    char request = 0;
    if (read(end, &request, 1) == 1) static_cast<Client*>(self)->request_(request);
    return G_SOURCE_CONTINUE;
  }

  std::function<void(char)> request_;
  int ends_[2];
  GSource* source_;
};

class LoopTest : public testing::Test {
 protected:
  void note(const std::string& event) { events_.push_back(event); }

  const std::unique_ptr<GLibRunLoop> loop_ = GLibRunLoop::create();
  DetachedThreads threads_;
  std::vector<std::string> events_;
};

TEST_F(LoopTest, KeepsTheOrderOfPostsAndRunsAWaitedCallOfTheMainThreadAheadOfThem) {
  loop_->post([&] {
    note("first");
    loop_->post([&] { note("last"); });
    loop_->postAndWait([&] { note("inline"); });
  });
  loop_->post([&] { note("second"); });
  EXPECT_THAT(events_, ElementsAre());
  for (int turn = 0; turn < 3; ++turn)
    EXPECT_EQ(loop_->runOneTurn(RunLoopMode::modal), Turn::handledOne);
  EXPECT_THAT(events_, ElementsAre("first", "inline", "second", "last"));
}

TEST_F(LoopTest, ServesManyThreadsEachInItsOwnOrder) {
  constexpr int kThreads = 8, kCalls = 400;
  std::vector<int> seen(kThreads, 0);  // touched by the main thread alone
  std::atomic<int> running{kThreads};
  for (int thread = 0; thread < kThreads; ++thread) {
    ASSERT_TRUE(threads_.detachNewThread([this, thread, &seen, &running] {
      EXPECT_FALSE(loop_->isMainThread());
      for (int call = 0; call < kCalls; ++call) {
        auto step = [&seen, thread, call] { EXPECT_EQ(seen[thread]++, call); };
        call % 7 ? loop_->post(step) : loop_->postAndWait(step);
      }
      loop_->post([this, &running] {
        if (--running == 0) loop_->end();
      });
    }));
  }
  loop_->run();
  EXPECT_THAT(seen, testing::Each(kCalls));
}

TEST_F(LoopTest, ServesPostsRequestsAndTimersInNestedTurnsOneAtATime) {
  std::unique_ptr<Timer> timer;
  std::thread worker;
  int turns = 0;
  Client client(*loop_, [&](char request) {
    note(std::string("request ") + request);
    if (request != 'a') return;
    // What "cancel" does inside a request: turn until a thread that needs the main thread is done.
    bool done = false;
    timer = loop_->addTimer(fromNow(-1), [&] {
      note("timer");
      client.send('b');
    });
    worker = std::thread([&] { loop_->postAndWait([&] { done = true; }); });
    while (!done || events_.size() < 3) {
      EXPECT_EQ(loop_->runOneTurn(RunLoopMode::defaultMode), Turn::handledOne);
      ++turns;
    }
    loop_->post([&] { loop_->end(); });
  });
  client.send('a');
  loop_->run();
  worker.join();
  EXPECT_EQ(turns, 3);
  EXPECT_THAT(events_, ElementsAre("request a", "timer", "request b"));
}

TEST_F(LoopTest, LetsNoKindOfWorkStarveAnother) {
  std::function<void()> again = [&] { loop_->post(again); };
  again();
  auto timer = loop_->addTimer(fromNow(-1), [&] { note("timer"); });
  Client client(*loop_, [&](char) { note("request"); });
  client.send('a');
  for (int turn = 0; turn < 3; ++turn) loop_->runOneTurn(RunLoopMode::defaultMode);
  EXPECT_THAT(events_, testing::UnorderedElementsAre("timer", "request"));
  loop_->end();
}

TEST_F(LoopTest, SleepsThroughUntilSomethingIsToBeDone) {
  const auto wakesUntilPosted = [this](RunLoopMode mode) {
    rusage before{}, after{};
    getrusage(RUSAGE_THREAD, &before);
    std::thread poster([this] {
      std::this_thread::sleep_for(std::chrono::milliseconds(200));
      loop_->post([this] { note("post"); });
    });
    loop_->runOneTurn(mode);
    getrusage(RUSAGE_THREAD, &after);
    poster.join();
    return after.ru_nvcsw + after.ru_nivcsw - before.ru_nvcsw - before.ru_nivcsw;
  };
  auto farAway = loop_->addTimer(fromNow(86400), [&] { note("day"); });
  EXPECT_LE(wakesUntilPosted(RunLoopMode::defaultMode), 8);
  auto soon = loop_->addTimer(fromNow(0.05), [&] { note("timer"); });
  EXPECT_LE(wakesUntilPosted(RunLoopMode::modal), 8) << "a due timer must not keep it busy";
  EXPECT_THAT(events_, ElementsAre("post", "post"));
  loop_->runOneTurn(RunLoopMode::defaultMode);
  EXPECT_THAT(events_, ElementsAre("post", "post", "timer"));
}

TEST_F(LoopTest, FiresTimersByDateAndNeverBeforeIt) {
  std::vector<std::unique_ptr<Timer>> timers;
  const auto add = [&](double date, const std::string& name) {
    timers.push_back(loop_->addTimer(Date{date}, [this, name] { note(name); }));
  };
  const Date soon = fromNow(0.15);
  add(std::numeric_limits<double>::infinity(), "never");
  add(1e300, "far");
  auto last = loop_->addTimer(soon, [&] { loop_->end(); });
  add(fromNow(0.1).secondsSince1970, "sooner");
  add(1, "long ago");
  add(-1e300, "longer ago");
  add(std::nan(""), "not a date");
  loop_->addTimer(fromNow(0.05), [&] { note("cancelled"); }).reset();
  loop_->run();
  EXPECT_THAT(events_, ElementsAre("longer ago", "not a date", "long ago", "sooner"));
  EXPECT_GE(SystemClock().now(), soon);
}

TEST_F(LoopTest, SlowsAChainOfDueTimersButNoTimerOfTheFuture) {
  const Date start = fromNow(0);
  std::unique_ptr<Timer> chain, other;
  std::vector<double> fired;
  std::function<void()> plan = [&] {
    fired.push_back(SystemClock().now().secondsSince1970 - start.secondsSince1970);
    chain.reset();  // its own timer, from inside its action
    if (fired.size() == 3) return loop_->end();
    chain = loop_->addTimer(fromNow(-1), plan);
    if (!other) other = loop_->addTimer(fromNow(0.1), plan);
  };
  chain = loop_->addTimer(fromNow(-1), plan);
  loop_->run();
  EXPECT_LT(fired[1], 0.8);  // the other one; it plans the chain anew
  EXPECT_GE(fired[2], fired[1] + 0.99);
  EXPECT_LT(fired[2], fired[1] + 1.8);
}

TEST_F(LoopTest, EndsForEveryoneWhoWaits) {
  std::promise<void> queued;
  auto held = std::make_shared<int>();
  std::atomic<bool> finished{false};
  std::thread waiting;
  std::thread running([&] {
    loop_->postAndWait([&] {
      waiting = std::thread([&] {
        loop_->post([&, held] { note("posted"); });
        queued.set_value();
        loop_->postAndWait([&, held] { note("waited"); });
      });
      queued.get_future().wait();
      std::thread([&] { loop_->end(); }).join();
      EXPECT_EQ(loop_->runOneTurn(RunLoopMode::modal), Turn::nothingToRun);
      std::this_thread::sleep_for(std::chrono::milliseconds(50));
      finished = true;
    });
    EXPECT_TRUE(finished) << "the call that runs when the loop ends is awaited";
  });
  loop_->run();
  running.join();
  waiting.join();
  loop_->end();
  loop_->post([&, held] { note("late"); });
  loop_->postAndWait([&] { note("late"); });
  EXPECT_EQ(loop_->runOneTurn(RunLoopMode::defaultMode), Turn::nothingToRun);
  EXPECT_THAT(events_, ElementsAre());
  EXPECT_EQ(held.use_count(), 1) << "calls that never run let go what they held";
}

}  // namespace
}  // namespace revwarden
