#pragma once

#include <chrono>
#include <deque>
#include <string>
#include <vector>

#include "cli/text_output.h"
#include "cli/update_jobs.h"

namespace revwarden {

/// How fast bytes arrive, over the last few seconds.
class TransferSpeed {
 public:
  using Time = std::chrono::steady_clock::time_point;

  /// Notes how many bytes have arrived in total. Fewer than before mean a new transfer.
  void note(int64_t bytes, Time now);
  /// In bytes per second; 0 until enough samples exist.
  double bytesPerSecond() const;

 private:
  std::deque<std::pair<Time, int64_t>> samples_;
};

/// Shows the progress of jobs on standard output: where the cursor can be moved, a bar for each
/// job, redrawn in place, as many as fit on the screen; elsewhere a line for each step of each job.
class ProgressDisplay {
 public:
  /// Draws what has changed. Call it often: bars are redrawn ten times a second at most.
  void show(const std::vector<UpdateJob>& jobs);

  /// Removes the bars from the screen, so that something else can be printed.
  void clear();

  /// Replaces the display by the result of each job. All jobs have ended.
  void showResults(const std::vector<UpdateJob>& jobs);

 private:
  void printSteps(const std::vector<UpdateJob>& jobs);
  void drawBars(const std::vector<UpdateJob>& jobs, int columns, int rows);
  std::string upToTheFirst(int columns) const;

  std::vector<std::string> steps_;
  std::vector<TransferSpeed> speeds_;
  std::vector<int> drawnWidths_;  // of the lines on the screen
  TransferSpeed::Time nextDrawing_{};
};

/// A line on the terminal that says what the program waits for, on standard error. Prints nothing
/// if that is not a terminal. The destructor removes the line.
class WaitingLine {
 public:
  WaitingLine();
  ~WaitingLine() { clear(); }
  WaitingLine(const WaitingLine&) = delete;
  WaitingLine& operator=(const WaitingLine&) = delete;

  /// Call it a few times a second.
  void show(const std::string& text);
  void clear();

 private:
  const bool visible_;
  size_t width_ = 0;  // of the text on the screen
  size_t turn_ = 0;
};

}  // namespace revwarden
