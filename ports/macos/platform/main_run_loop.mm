#import "ports/macos/platform/main_run_loop.h"

#import <AppKit/AppKit.h>
#import <Foundation/Foundation.h>

#include <algorithm>
#include <cmath>
#include <condition_variable>
#include <utility>

#import "ports/macos/platform/call_object.h"
#import "ports/macos/platform/retained.h"

namespace revwarden {
namespace {

using SteadyClock = std::chrono::steady_clock;

class ScheduledTimer final : public Timer {
 public:
  explicit ScheduledTimer(NSTimer* timer) : timer_(timer) {}
  ~ScheduledTimer() override { [timer_.get() invalidate]; }

 private:
  const Retained timer_;
};

// Returns the date, but not before `notBefore`.
NSDate* dateOf(Date date, NSDate* notBefore) {
  if (std::isnan(date.secondsSince1970)) return notBefore;
  NSDate* const never = [NSDate distantFuture];
  if (date.secondsSince1970 > [never timeIntervalSince1970]) return never;
  return [notBefore laterDate:[NSDate dateWithTimeIntervalSince1970:date.secondsSince1970]];
}

}  // namespace

bool MainRunLoop::isMainThread() const {
  return [NSThread isMainThread];
}

void MainRunLoop::post(std::function<void()> call) {
  {
    const std::lock_guard lock(mutex_);
    queue_.push_back(std::move(call));
  }
  wake();
}

// On the main thread the call must be queued, too, but performSelectorOnMainThread: may run it
// immediately.
void MainRunLoop::wake() {
  const AutoreleasePool pool;
  KQRWCall* const server = callObject([this] { serveOne(); });
  if (![NSThread isMainThread]) {
    [server performSelectorOnMainThread:@selector(run:) withObject:nil waitUntilDone:NO];
    return;
  }
  NSArray* const modes = [NSArray arrayWithObjects:NSDefaultRunLoopMode, NSModalPanelRunLoopMode,
                                                   NSEventTrackingRunLoopMode, nil];
  [[NSRunLoop currentRunLoop] performSelector:@selector(run:)
                                       target:server
                                     argument:nil
                                        order:0
                                        modes:modes];
}

bool MainRunLoop::serveOne() {
  std::function<void()> call;
  bool isLast = false;
  {
    const std::lock_guard lock(mutex_);
    if (queue_.empty()) return false;  // a nested turn ran it
    call = std::move(queue_.front());
    queue_.pop_front();
    isLast = queue_.empty();
  }
  // The run loop may have consumed the wakes of the other calls together with this one. Wake it
  // again: if this call runs the loop itself, as a panel does, the others must run inside it.
  if (!isLast) wake();
  const AutoreleasePool pool;
  call();
  return true;
}

void MainRunLoop::postAndWait(std::function<void()> call) {
  if (isMainThread()) return call();
  std::mutex mutex;
  std::condition_variable done;
  bool isDone = false;
  post([&] {
    call();
    const std::lock_guard lock(mutex);
    isDone = true;
    done.notify_one();  // under the lock: the waiting thread destroys both
  });
  std::unique_lock lock(mutex);
  done.wait(lock, [&] { return isDone; });
}

RunLoop::Turn MainRunLoop::runOneTurn(RunLoopMode mode) {
  if (serveOne()) return Turn::handledOne;
  const AutoreleasePool pool;
  NSString* name = NSDefaultRunLoopMode;
  if (mode == RunLoopMode::modal) name = NSModalPanelRunLoopMode;
  const BOOL ran = [[NSRunLoop currentRunLoop] runMode:name beforeDate:[NSDate distantFuture]];
  return ran ? Turn::handledOne : Turn::nothingToRun;
}

void MainRunLoop::timerFired(const std::function<void()>& action) {
  lastFired_ = SteadyClock::now();
  action();
}

std::unique_ptr<Timer> MainRunLoop::addTimer(Date fireDate, std::function<void()> action) {
  const AutoreleasePool pool;
  NSDate* notBefore = [NSDate date];
  if (lastFired_) {
    const std::chrono::duration<double> since = SteadyClock::now() - *lastFired_;
    notBefore = [notBefore dateByAddingTimeInterval:std::max(0.0, 1.0 - since.count())];
  }
  NSDate* const date = dateOf(fireDate, notBefore);
  KQRWCall* const target =
      callObject(std::bind_front(&MainRunLoop::timerFired, this, std::move(action)));
  NSTimer* const timer = [[[NSTimer alloc] initWithFireDate:date
                                                   interval:0
                                                     target:target
                                                   selector:@selector(run:)
                                                   userInfo:nil
                                                    repeats:NO] autorelease];
  [[NSRunLoop currentRunLoop] addTimer:timer forMode:NSDefaultRunLoopMode];
  return std::make_unique<ScheduledTimer>(timer);
}

}  // namespace revwarden
