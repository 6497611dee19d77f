#include "host/ending.h"

#include <gtest/gtest.h>
#include <signal.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <thread>

namespace revwarden {
namespace {

using Moment = std::chrono::steady_clock;

/// A process whose main thread never comes to its senses gets the signal.
[[noreturn]] void runUntil(int signal, const std::function<void()>& finish) {
  holdEndingSignals();
  if (!endOnSignals(finish, [] { std::fputs("released", stderr); })) ::_exit(1);
  ::kill(::getpid(), signal);
  while (true) std::this_thread::sleep_for(std::chrono::hours(1));
}

TEST(EndingDeathTest, SignalsEndTheProcessWhateverItsThreadsDo) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_EXIT(runUntil(SIGINT, [] { std::fputs("finished ", stderr); }), testing::ExitedWithCode(0),
              "finished released");
  const auto start = Moment::now();
  const auto hang = [] { std::this_thread::sleep_for(std::chrono::hours(1)); };
  EXPECT_EXIT(runUntil(SIGTERM, hang), testing::ExitedWithCode(0), "released");
  EXPECT_LT(Moment::now() - start, std::chrono::seconds(5));
}

}  // namespace
}  // namespace revwarden
