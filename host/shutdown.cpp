#include "host/shutdown.h"

#include <signal.h>
#include <unistd.h>

#include <chrono>
#include <system_error>
#include <thread>
#include <utility>

#ifndef __has_feature
#define __has_feature(feature) 0
#endif
#if defined(__SANITIZE_ADDRESS__) || __has_feature(address_sanitizer)
#include <sanitizer/lsan_interface.h>
#define REVWARDEN_CHECK_LEAKS() __lsan_do_leak_check()
#else
#define REVWARDEN_CHECK_LEAKS() static_cast<void>(0)
#endif

namespace revwarden {
namespace {

constexpr auto kPatience = std::chrono::milliseconds(1500);

sigset_t shutdownSignals() {
  sigset_t signals;
  sigemptyset(&signals);
  sigaddset(&signals, SIGTERM);
  sigaddset(&signals, SIGINT);
  return signals;
}

[[noreturn]] void endNow(const std::function<void()>& release) {
  release();
  REVWARDEN_CHECK_LEAKS();  // _exit skips it
  ::_exit(0);
}

void endAfterPatience(const std::function<void()>& release) {
  try {
    std::thread([&release] {
      std::this_thread::sleep_for(kPatience);
      endNow(release);
    }).detach();
  } catch (const std::system_error&) {
    endNow(release);
  }
}

[[noreturn]] void waitAndEnd(const std::function<void()>& finish,
                             const std::function<void()>& release) {
  const sigset_t signals = shutdownSignals();
  int signal = 0;
  while (::sigwait(&signals, &signal) != 0) continue;
  endAfterPatience(release);
  finish();
  endNow(release);
}

}  // namespace

void blockShutdownSignals() {
  const sigset_t signals = shutdownSignals();
  ::pthread_sigmask(SIG_BLOCK, &signals, nullptr);
}

bool shutDownOnSignals(std::function<void()> finish, std::function<void()> release) {
  try {
    std::thread([finish = std::move(finish), release = std::move(release)] {
      waitAndEnd(finish, release);
    }).detach();
  } catch (const std::system_error&) {
    return false;
  }
  return true;
}

}  // namespace revwarden
