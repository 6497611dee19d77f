#include "host/shutdown.h"

#include <gtest/gtest.h>
#include <signal.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <thread>

namespace revwarden {
namespace {

/// A process whose threads never come to their senses gets the signal.
[[noreturn]] void endWhileAllHangs() {
  const auto hang = [] { std::this_thread::sleep_for(std::chrono::hours(1)); };
  blockShutdownSignals();
  if (!shutDownOnSignals(hang, [] { std::fputs("released", stderr); })) ::_exit(1);
  ::kill(::getpid(), SIGTERM);
  while (true) hang();
}

TEST(EndingDeathTest, ASignalEndsTheProcessWhateverItsThreadsDo) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  const auto start = std::chrono::steady_clock::now();
  EXPECT_EXIT(endWhileAllHangs(), testing::ExitedWithCode(0), "released");
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(5));
}

}  // namespace
}  // namespace revwarden
