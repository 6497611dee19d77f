#include "cli/progress_display.h"

#include <unistd.h>

#include <algorithm>
#include <cstdio>

#include "cli/session.h"

namespace revwarden {
namespace {

using std::chrono::milliseconds;

constexpr milliseconds kBetweenDrawings{100};
constexpr milliseconds kSpeedWindow{3000};
constexpr milliseconds kLeastSpan{300};  // a speed over less time is not reliable
constexpr int kLeastBar = 6;
constexpr int kMostBar = 30;
constexpr int kDetailsWidth = 50;  // of percent, bytes, speed and step with the gaps before them

struct Unit {
  double bytes;
  const char* name;
};

Unit unitFor(double bytes) {
  if (bytes >= 1e9) return {1e9, "GB"};
  if (bytes >= 1e6) return {1e6, "MB"};
  return {1e3, "kB"};
}

std::string inUnit(double bytes, const Unit& unit) {
  char text[40];
  std::snprintf(text, sizeof text, "%.1f", bytes / unit.bytes);
  return text;
}

std::string amountText(const UpdateJob& job) {
  const auto received = static_cast<double>(job.received);
  const Unit unit = unitFor(static_cast<double>(std::max(job.received, job.total)));
  if (job.received <= 0 && job.total <= 0) return "";
  const std::string have = inUnit(received, unit);
  if (job.total <= 0) return have + " " + unit.name;
  return have + " of " + inUnit(static_cast<double>(job.total), unit) + " " + unit.name;
}

std::string speedText(double bytesPerSecond) {
  if (bytesPerSecond <= 0) return "";
  const Unit unit = unitFor(bytesPerSecond);
  return inUnit(bytesPerSecond, unit) + " " + unit.name + "/s";
}

bool isIn(const UpdateJob& job, SimpleAction action) {
  return job.state == UpdateJob::State::running && job.action == action;
}

// 0 to 100; absent while it is not known.
std::optional<int> percentOf(const UpdateJob& job) {
  if (isIn(job, SimpleAction::installing) || (job.hasEnded() && resultOf(job).good)) return 100;
  return downloadedPercent(job.received, job.total);
}

std::string bar(int percent, int width) {
  const int inside = width - 2;
  const int full = inside * percent / 100;
  return "[" + std::string(static_cast<size_t>(full), '#') +
         std::string(static_cast<size_t>(inside - full), '-') + "]";
}

std::string padded(std::string text, int width, bool toTheRight = false) {
  const int missing = std::max(0, width - displayWidth(text));
  text.insert(toTheRight ? 0 : text.size(), static_cast<size_t>(missing), ' ');
  return text;
}

// One job's line: its name in `nameWidth` columns, a bar, bytes, speed and step, as much of it as
// fits in `columns`.
std::string progressLine(const UpdateJob& job, double bytesPerSecond, int columns, int nameWidth) {
  std::string line = padded(fittedTo(job.label, nameWidth), nameWidth) + "  ";
  const auto percent = percentOf(job);
  const int room = columns - nameWidth - 2 - kDetailsWidth;
  if (room >= kLeastBar) line += bar(percent.value_or(0), std::min(room, kMostBar)) + "  ";
  line += padded(percent ? std::to_string(*percent) + "%" : "", 4, true) + "  ";
  if (room >= 0) line += padded(amountText(job), 17, true) + "  ";
  line += padded(speedText(bytesPerSecond), 10, true) + "  " + stepText(job);
  return fittedTo(line, columns);
}

}  // namespace

void TransferSpeed::note(int64_t bytes, Time now) {
  if (!samples_.empty() && bytes < samples_.back().second) samples_.clear();
  samples_.emplace_back(now, bytes);
  while (now - samples_.front().first > kSpeedWindow) samples_.pop_front();
}

double TransferSpeed::bytesPerSecond() const {
  if (samples_.empty()) return 0;
  const auto span = samples_.back().first - samples_.front().first;
  if (span < kLeastSpan) return 0;
  return static_cast<double>(samples_.back().second - samples_.front().second) /
         std::chrono::duration<double>(span).count();
}

void ProgressDisplay::show(const std::vector<UpdateJob>& jobs) {
  const Terminal terminal = Terminal::ofStandardOutput();
  if (!terminal.rows) return printSteps(jobs);
  const auto now = std::chrono::steady_clock::now();
  if (now < nextDrawing_) return;
  nextDrawing_ = now + kBetweenDrawings;
  speeds_.resize(jobs.size());
  for (size_t i = 0; i < jobs.size(); ++i) {
    const bool isLoading = isIn(jobs[i], SimpleAction::downloading);
    if (isLoading) speeds_[i].note(jobs[i].received, now);
    if (!isLoading) speeds_[i] = {};
  }
  drawBars(jobs, *terminal.columns, *terminal.rows);
}

void ProgressDisplay::printSteps(const std::vector<UpdateJob>& jobs) {
  steps_.resize(jobs.size());
  for (size_t i = 0; i < jobs.size(); ++i) {
    const std::string step = jobs[i].hasEnded() ? resultOf(jobs[i]).text : stepText(jobs[i]);
    if (step == std::exchange(steps_[i], step)) continue;
    const std::string amount = isIn(jobs[i], SimpleAction::downloading) ? amountText(jobs[i]) : "";
    print(jobs[i].label + ": " + step + (amount.empty() ? "" : ", " + amount) + "\n");
  }
}

// The last column stays empty, because some terminals break the line after it.
void ProgressDisplay::drawBars(const std::vector<UpdateJob>& jobs, int columns, int rows) {
  const int width = std::max(1, columns - 1);
  int nameWidth = 0;
  for (const UpdateJob& job : jobs) nameWidth = std::max(nameWidth, displayWidth(job.label));
  nameWidth = std::min(nameWidth, width / 4);
  // The cursor rests below the last line, and a screen has no more than its rows.
  const size_t room = std::min(jobs.size(), static_cast<size_t>(std::max(1, rows - 1)));
  const auto current =
      std::find_if(jobs.begin(), jobs.end(), [](const UpdateJob& job) { return !job.hasEnded(); });
  const size_t first = std::min(static_cast<size_t>(current - jobs.begin()), jobs.size() - room);

  std::string screen = upToTheFirst(columns);
  drawnWidths_.clear();
  for (size_t i = first; i < first + room; ++i) {
    const std::string line = progressLine(jobs[i], speeds_[i].bytesPerSecond(), width, nameWidth);
    screen += line + "\033[K\n";
    drawnWidths_.push_back(displayWidth(line));
  }
  print(screen + "\033[J");
  std::fflush(stdout);
}

// A terminal that has become narrower has wrapped the lines drawn before.
std::string ProgressDisplay::upToTheFirst(int columns) const {
  int up = 0;
  for (const int width : drawnWidths_) up += std::max(1, (width + columns - 1) / columns);
  return up == 0 ? "\r" : "\r\033[" + std::to_string(up) + "A";
}

void ProgressDisplay::clear() {
  if (drawnWidths_.empty()) return;
  print(upToTheFirst(Terminal::ofStandardOutput().columns.value_or(80)) + "\033[J");
  std::fflush(stdout);
  drawnWidths_.clear();
}

void ProgressDisplay::showResults(const std::vector<UpdateJob>& jobs) {
  const Terminal terminal = Terminal::ofStandardOutput();
  if (!terminal.rows) return printSteps(jobs);
  clear();
  for (const UpdateJob& job : jobs) {
    const UpdateResult result = resultOf(job);
    const std::string line = job.label + ": " + result.text;
    print((result.good ? terminal.styled(Terminal::Style::green, line) : line) + "\n");
  }
}

WaitingLine::WaitingLine() : visible_(isatty(STDERR_FILENO)) {}

void WaitingLine::show(const std::string& text) {
  constexpr char kWheel[] = "|/-\\";
  if (!visible_) return;
  const std::string line = text + " " + kWheel[turn_++ % 4] + " ";
  std::fputs(("\r" + line).c_str(), stderr);
  width_ = line.size();
}

void WaitingLine::clear() {
  if (width_ > 0) std::fputs(("\r" + std::string(width_, ' ') + "\r").c_str(), stderr);
  width_ = 0;
}

}  // namespace revwarden
