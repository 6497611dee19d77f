#pragma once

#include <string>

namespace revwarden {

/// A line on the terminal that says what is waited for; nothing elsewhere. It goes to standard
/// error and is gone with the object.
class WaitingLine {
 public:
  WaitingLine();
  ~WaitingLine() { clear(); }
  WaitingLine(const WaitingLine&) = delete;
  WaitingLine& operator=(const WaitingLine&) = delete;

  /// To be called a few times a second.
  void show(const std::string& text);
  void clear();

 private:
  const bool visible_;
  size_t width_ = 0;  // of what stands there
  size_t turn_ = 0;
};

}  // namespace revwarden
