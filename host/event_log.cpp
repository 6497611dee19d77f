#include "host/event_log.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <cerrno>
#include <vector>

#include "host/diagnostics.h"
#include "host/json_values.h"
#include "platform/run_loop.h"
#include "ports/posix/system_error.h"

namespace revwarden {
namespace {

// Returns true if the file ends within a line: an earlier process was killed while it wrote.
bool endsWithinLine(int fd) {
  struct stat info {};
  char last = '\n';
  if (::fstat(fd, &info) != 0 || !S_ISREG(info.st_mode) || info.st_size == 0) return false;
  return ::pread(fd, &last, 1, info.st_size - 1) == 1 && last != '\n';
}

// Returns how many bytes were written before the first failure.
size_t writeAll(int fd, std::string_view bytes) {
  size_t done = 0;
  while (done < bytes.size()) {
    const ssize_t count = ::write(fd, bytes.data() + done, bytes.size() - done);
    if (count < 0 && errno == EINTR) continue;
    if (count <= 0) break;
    done += static_cast<size_t>(count);
  }
  return done;
}

}  // namespace

EventLog::EventLog(const RunLoop& mainLoop, const Diagnostics& diagnostics, Limits limits)
    : mainLoop_(mainLoop), diagnostics_(diagnostics), limits_(limits) {}

Result<> EventLog::writeTo(const std::string& path) {
  FileDescriptor file(::open(path.c_str(), O_RDWR | O_APPEND | O_CREAT | O_CLOEXEC, 0600));
  if (!file) return systemError("cannot open the event log " + path);
  const std::lock_guard lock(mutex_);
  lineIsTorn_ = endsWithinLine(file.get());
  file_ = std::move(file);
  return kSuccess;
}

void EventLog::setListener(Listener listener) {
  const std::lock_guard lock(mutex_);
  listener_ = std::move(listener);
}

void EventLog::append(std::string_view method, std::string_view params) {
  const bool main = mainLoop_.isMainThread();
  const std::lock_guard lock(mutex_);
  std::string line = "{\"seq\":" + std::to_string(++lastSequence_) + ",\"time\":\"" +
                     rfc3339Milliseconds(std::chrono::system_clock::now()) +
                     "\",\"main\":" + (main ? "true" : "false") +
                     ",\"method\":" + jsonText(method) + ",\"params\":";
  line.append(params) += '}';
  if (file_) writeLine(line);
  keep(std::move(line));
  if (listener_) listener_(method, params);
}

void EventLog::writeLine(std::string line) {
  if (lineIsTorn_) line.insert(0, 1, '\n');
  line += '\n';
  const size_t written = writeAll(file_.get(), line);
  if (written == line.size()) {
    lineIsTorn_ = writeFailed_ = false;
    return;
  }
  if (!writeFailed_) {
    diagnostics_.error(systemError("cannot write the event log").message);
  }
  writeFailed_ = true;
  lineIsTorn_ = lineIsTorn_ || written > 0;
}

void EventLog::keep(std::string line) {
  line.shrink_to_fit();
  keptBytes_ += line.size();
  kept_.push_back(std::move(line));
  while (kept_.size() > limits_.events || keptBytes_ > limits_.bytes) {
    keptBytes_ -= kept_.front().size();
    kept_.pop_front();
  }
}

std::string EventLog::eventsAfter(uint64_t sequence) const {
  const std::lock_guard lock(mutex_);
  const uint64_t missed = sequence < lastSequence_ ? lastSequence_ - sequence : 0;
  const size_t count = missed < kept_.size() ? static_cast<size_t>(missed) : kept_.size();
  std::string out = "[";
  for (auto line = kept_.end() - static_cast<std::ptrdiff_t>(count); line != kept_.end(); ++line) {
    if (out.size() > 1) out += ',';
    out += *line;
  }
  return out += ']';
}

void EventLog::finishForever(std::chrono::milliseconds patience) {
  // Intentional: the lock is never released, so no thread can start another line. The wall clock is
  // used because ThreadSanitizer does not see locks taken by the steady clock.
  [[maybe_unused]] const bool locked =
      mutex_.try_lock_until(std::chrono::system_clock::now() + patience);
}

}  // namespace revwarden
