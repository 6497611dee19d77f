#pragma once

#include <chrono>
#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>

#include "base/result.h"
#include "ports/posix/file_descriptor.h"

namespace revwarden {

class Diagnostics;
class RunLoop;

/// The numbered log of all events, in the one order in which clients get them. Any thread.
///
/// Each event is written to the log file, kept for later requests and passed to the listener before
/// the next one starts, whichever threads they come from.
class EventLog {
 public:
  /// Receives each event under the log's lock: it must return at once and not call the log.
  using Listener = std::function<void(std::string_view method, std::string_view params)>;

  /// How many of the latest events are kept, and how many bytes at most.
  struct Limits {
    size_t events = 10'000;
    size_t bytes = 32 << 20;
  };

  EventLog(const RunLoop& mainLoop, const Diagnostics& diagnostics, Limits limits);
  EventLog(const RunLoop& mainLoop, const Diagnostics& diagnostics)
      : EventLog(mainLoop, diagnostics, Limits{}) {}

  /// Appends each further event to the file as a line.
  Result<> writeTo(const std::string& path);

  void setListener(Listener listener);

  /// Adds an event. `params` is the text of a JSON array. The event is marked as of the main thread
  /// if the caller runs there.
  void append(std::string_view method, std::string_view params);

  /// Returns the kept events with a higher number than `sequence`, as a JSON array of log lines.
  std::string eventsAfter(uint64_t sequence) const;

  /// For the end of the process: waits up to `patience` for an event that is being written. Every
  /// later call on this log blocks forever.
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
  bool lineIsTorn_ = false;  // the file does not end with a line break
  bool writeFailed_ = false;
  uint64_t lastSequence_ = 0;
  std::deque<std::string> kept_;  // the last of them is number lastSequence_
  size_t keptBytes_ = 0;
};

}  // namespace revwarden
