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

  /// How many there are in all by now. Fewer than before is a new transfer.
  void note(int64_t bytes, Time now);
  /// Bytes a second; 0 as long as too little is known.
  double bytesPerSecond() const;

 private:
  std::deque<std::pair<Time, int64_t>> samples_;
};

/// One job's line: its name in `nameWidth` columns, a bar, bytes, speed and step, as much of it as
/// fits in `columns`.
std::string progressLine(const UpdateJob& job, double bytesPerSecond, int columns, int nameWidth);

/// The jobs' progress on standard output. Where the cursor can be moved, a bar for each job, drawn
/// over in place, as many as there is room for; elsewhere a line for each step of each job.
class ProgressDisplay {
 public:
  /// To be called often: draws what has changed, bars ten times a second at most.
  void show(const std::vector<UpdateJob>& jobs);

  /// Takes the bars off the screen, so that something else can be printed.
  void clear();

 private:
  void printSteps(const std::vector<UpdateJob>& jobs);
  void drawBars(const std::vector<UpdateJob>& jobs, int columns, int rows);
  std::string upToTheFirst(int columns) const;

  std::vector<std::string> steps_;
  std::vector<TransferSpeed> speeds_;
  std::vector<int> drawnWidths_;  // of the lines on the screen
  TransferSpeed::Time nextDrawing_{};
};

}  // namespace revwarden
