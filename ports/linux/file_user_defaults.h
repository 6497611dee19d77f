#pragma once

#include <atomic>
#include <chrono>
#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>

#include "platform/user_defaults.h"
#include "ports/linux/file_identity.h"

namespace revwarden {

/// User defaults in one file, an XML property list with a dictionary at its root.
///
/// The file is replaced as a whole: whoever reads it, and whenever this process or the machine
/// ends, it holds all of the old settings or all of the new. Others may change it meanwhile; what
/// they wrote under other keys stays. A file that is no such list is renamed to NAME.damaged-N when
/// it is read, and reads as no settings; one that cannot be read stays where it is and is never
/// replaced.
///
/// A dictionary reads as it was set, and shares its parts, until another process changes the file:
/// until then its dates keep the fractions that the file does not hold. One object for each file in
/// a process.
class FileUserDefaults : public UserDefaults {
 public:
  /// `diagnose` receives a line for people about each problem. It is called by the thread that
  /// meets the problem and must not call back.
  FileUserDefaults(std::string path, std::function<void(std::string)> diagnose);

  std::optional<Dictionary> dictionaryForKey(std::string_view key) override;
  void setDictionary(const Dictionary& dictionary, std::string_view key) override;
  bool synchronize() override;

  /// Forbids further writes and waits, at most for `limit`, for one that is under way. Whether none
  /// is left. Any thread.
  bool finishWritesAndClose(std::chrono::milliseconds limit);

 private:
  bool refresh();
  bool readRoot();
  bool setDamagedFileAside(const FileIdentity& identity);
  bool replaceFile(const std::string& contents);
  void removeLeftovers() const;
  bool fail(std::string_view action, const std::string& path) const;

  const std::string path_;
  const std::string folder_;
  const std::function<void(std::string)> diagnose_;
  std::atomic<bool> isClosed_ = false;

  std::timed_mutex mutex_;                // guards all below, and the file
  Dictionary root_;                       // what the file holds
  std::optional<FileIdentity> identity_;  // of the file that `root_` is from; absent: read it again
  std::map<std::string, Dictionary, std::less<>> pending_;  // set, but not yet in the file
};

}  // namespace revwarden
