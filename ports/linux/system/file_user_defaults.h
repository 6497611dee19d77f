#pragma once

#include <chrono>
#include <condition_variable>
#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>

#include "platform/user_defaults.h"
#include "ports/linux/files/regular_file.h"

namespace revwarden {

/// User defaults in one file, an XML property list with a dictionary at its root.
///
/// The file is replaced as a whole: at every moment, also if this process is killed or the machine
/// loses its power, it contains all of the old settings or all of the new. Other processes may
/// change it; what they wrote under other keys stays. A file that is no such list is renamed to
/// NAME.damaged-N when it is read, and reads as no settings. A file that cannot be read stays where
/// it is and is never replaced by this process, even if it can be read later.
///
/// A dictionary reads as it was set, and shares its parts, until another process changes the file:
/// so its dates keep fractions of seconds, which the file cannot hold. Use one object for each file
/// in a process.
class FileUserDefaults : public UserDefaults {
 public:
  /// `diagnose` receives one line for a person about each problem, on the thread that meets it. It
  /// must not call this object.
  FileUserDefaults(std::string path, std::function<void(std::string)> diagnose);

  std::optional<Dictionary> dictionaryForKey(std::string_view key) override;
  void setDictionary(const Dictionary& dictionary, std::string_view key) override;
  bool synchronize() override;

  /// Forbids further writes and waits, at most for `limit`, for one that is under way. Returns true
  /// if none is under way any more. Any thread.
  bool finishWritesAndClose(std::chrono::milliseconds limit);

  /// When the first of the writes that failed since the last successful one failed; absent when the
  /// file holds what was last set. Any thread; does not wait for a write.
  std::optional<Date> unsavedSince() const;

 private:
  bool beginWrite();
  void endWrite(bool written);
  /// Diagnoses an error. Returns true if there is none.
  bool reported(const Result<>& result) const;
  Result<> writePending();
  /// Reads `root_` again if the file has changed.
  Result<> refresh();
  Result<> readRoot();
  Result<> setDamagedFileAside(const FileState& state);
  Result<> replaceFile(const std::string& contents);
  void removeLeftovers() const;

  const std::string path_;
  const std::string folder_;
  const std::function<void(std::string)> diagnose_;

  std::mutex mutex_;                // guards the file and all up to the next mutex
  Dictionary root_;                 // the contents of the file
  std::optional<FileState> state_;  // of the file that `root_` is from; absent: read it again
  bool wasUnreadable_ = false;      // the file exists and once could not be read
  std::map<std::string, Dictionary, std::less<>> pending_;  // set, but not written yet

  mutable std::mutex writeMutex_;  // guards all below; taken last
  std::condition_variable writeEnded_;
  bool isWriting_ = false;
  bool isClosed_ = false;
  std::optional<Date> unsavedSince_;
};

}  // namespace revwarden
