#pragma once

#include <chrono>
#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>

#include "ports/posix/file_descriptor.h"

namespace revwarden {

class Diagnostics;
class RunLoop;

/// Everything that happens, numbered, in the one order in which it is told.
///
/// An event is written to the log file, kept for those who ask later and handed to the listener
/// before the next one begins, whichever threads they come from. All operations may be called from
/// any thread.
class EventLog {
 public:
  /// Hears of each event, under the log's lock: it must return at once and not call the log.
  using Listener = std::function<void(std::string_view method, std::string_view params)>;

  /// How many of the latest events are kept, and how many bytes of them.
  struct Limits {
    size_t events = 10'000;
    size_t bytes = 32 << 20;
  };

  EventLog(const RunLoop& mainLoop, const Diagnostics& diagnostics, Limits limits);
  EventLog(const RunLoop& mainLoop, const Diagnostics& diagnostics)
      : EventLog(mainLoop, diagnostics, Limits{}) {}

  /// From now on each event is appended to the file as a line. False, with errno set, when it
  /// cannot be opened.
  [[nodiscard]] bool writeTo(const std::string& path);

  void setListener(Listener listener);

  /// Adds an event; `params` is a JSON list. Its main-thread mark is the caller's.
  void append(std::string_view method, std::string_view params);

  /// The kept events with a higher number than `sequence`, as a JSON list of log lines.
  std::string eventsAfter(uint64_t sequence) const;

  /// Lets an event that is being written finish, within `patience`, and adds none from then on:
  /// whoever tries waits forever. For the end of the process.
  void finishForever(std::chrono::milliseconds patience);

 private:
  void writeLine(std::string line);
  void keep(std::string line);

  const RunLoop& mainLoop_;
  const Diagnostics& diagnostics_;
  const Limits limits_;
  mutable std::timed_mutex mutex_;
  Listener listener_;
  FileDescriptor file_;
  bool lineIsTorn_ = false;  // the file ends within a line
  bool writeFailed_ = false;
  uint64_t lastSequence_ = 0;
  std::deque<std::string> kept_;  // the last of them is number lastSequence_
  size_t keptBytes_ = 0;
};

}  // namespace revwarden
