#import "ports/macos/platform/pooled_threads.h"

#include <utility>

#import "ports/macos/platform/call_object.h"
#import "ports/macos/platform/exception_guard.h"
#import "ports/macos/platform/retained.h"

namespace revwarden {

bool PooledThreads::detachNewThread(std::function<void()> body) {
  const AutoreleasePool pool;
  // Destroy the body on its own thread: the thread object may be destroyed on another one.
  std::function<void()> run = [body = std::move(body)]() mutable {
    const AutoreleasePool ofThread;
    body();
    body = nullptr;
  };
  return KQRWDetachThread(@selector(run:), callObject(std::move(run)));
}

}  // namespace revwarden
