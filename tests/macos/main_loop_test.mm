#import "ports/macos/platform/main_run_loop.h"

#import <AppKit/AppKit.h>
#include <gtest/gtest.h>

#include <cmath>
#include <thread>

#import "ports/macos/platform/retained.h"

namespace revwarden {
namespace {

constexpr auto kHandledOne = RunLoop::Turn::handledOne;
constexpr Date kPast{0};

class MainLoop : public testing::Test {
 protected:
  // Runs the loop as the process does, until there are this many notes.
  void turnUntil(size_t count, NSString* mode = NSDefaultRunLoopMode) {
    NSDate* const deadline = [NSDate dateWithTimeIntervalSinceNow:20];
    while (notes.size() < count && [deadline timeIntervalSinceNow] > 0) {
      [[NSRunLoop currentRunLoop] runMode:mode
                               beforeDate:[NSDate dateWithTimeIntervalSinceNow:0.01]];
    }
    ASSERT_EQ(notes.size(), count);
  }
  std::function<void()> note(char name) {
    return [=, this] { notes += loop.isMainThread() ? name : '?'; };
  }

  MainRunLoop& loop = *new MainRunLoop;
  std::string notes;

 private:
  const AutoreleasePool pool_;
};

TEST_F(MainLoop, CallsKeepTheirOrder) {
  loop.post(note('b'));
  loop.postAndWait(note('a'));
  EXPECT_EQ(notes, "a") << "postAndWait runs inline, post does not";
  std::thread other([this] {
    EXPECT_FALSE(loop.isMainThread());
    loop.post(note('c'));
    loop.postAndWait([this] {
      loop.post(note('e'));
      notes += 'd';
    });
    EXPECT_GE(notes.size(), 4);
  });
  turnUntil(5);
  other.join();
  EXPECT_EQ(notes, "abcde");
}

TEST_F(MainLoop, NestedTurnsRunWaitingCallsAndWaitForMore) {
  std::thread other;
  loop.post([&] {
    while (notes.size() < 1) ASSERT_EQ(loop.runOneTurn(RunLoopMode::modal), kHandledOne);
    other = std::thread([this] { loop.postAndWait(note('c')); });
    while (notes.size() < 3) ASSERT_EQ(loop.runOneTurn(RunLoopMode::defaultMode), kHandledOne);
    notes += '.';
  });
  loop.post(note('a'));
  loop.post(note('b'));
  turnUntil(4);
  other.join();
  EXPECT_EQ(notes, "abc.");
}

TEST_F(MainLoop, APanelInsideACallDoesNotDelayTheNextCalls) {
  loop.post([this] {
    turnUntil(1);
    notes += '.';
  });
  loop.post(note('a'));
  turnUntil(2);
  EXPECT_EQ(notes, "a.");
}

TEST_F(MainLoop, TimersFireOnceInTheDefaultModeAndAtMostOnceASecondWhenDue) {
  std::unique_ptr<Timer> timer;
  const std::string held(100, 't');
  timer = loop.addTimer(kPast, [=, this, &timer] {
    timer.reset();
    notes += held[99];  // the action may destroy its own timer
  });
  const auto never = loop.addTimer(Date{HUGE_VAL}, note('n'));
  loop.addTimer(kPast, note('x')).reset();
  loop.post(note('p'));
  turnUntil(1, NSModalPanelRunLoopMode);
  turnUntil(2);
  const auto fired = std::chrono::steady_clock::now();
  const auto later = loop.addTimer(Date{[[NSDate date] timeIntervalSince1970]}, note('l'));
  turnUntil(3);
  EXPECT_EQ(notes, "ptl");
  EXPECT_GT(std::chrono::steady_clock::now() - fired, std::chrono::milliseconds(800));
}

}  // namespace
}  // namespace revwarden
