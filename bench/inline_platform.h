#pragma once

#include <functional>
#include <memory>

#include "platform/run_loop.h"
#include "platform/threads.h"

// Threads that cost nothing, so that a measurement sees the agent's own work: everything runs at
// once on the measuring thread.
namespace revwarden::bench {

struct InlineLoop final : RunLoop {
  bool isMainThread() const override { return true; }
  void post(std::function<void()> call) override { call(); }
  void postAndWait(std::function<void()> call) override { call(); }
  Turn runOneTurn(RunLoopMode) override { return Turn::nothingToRun; }
  std::unique_ptr<Timer> addTimer(Date, std::function<void()>) override { return nullptr; }
};

struct InlineThreads final : Threads {
  bool detachNewThread(std::function<void()> body) override {
    body();
    return true;
  }
};

}  // namespace revwarden::bench
