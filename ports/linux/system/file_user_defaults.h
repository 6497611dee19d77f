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
#include "ports/linux/files/file_identity.h"

namespace revwarden {

/// User defaults in one file, an XML property list with a dictionary at its root.
///
/// The file is replaced as a whole: whoever reads it, and whenever this process or the machine
/// ends, it holds all of the old settings or all of the new. Others may change it meanwhile; what
/// they wrote under other keys stays. A file that is no such list is renamed to NAME.damaged-N when
/// it is read, and reads as no settings. One that cannot be read stays where it is, and once that
/// was so it is not replaced even if it can be read later.
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

  /// When the first of the writes that failed since the last successful one failed; absent when the
  /// file holds what was last set. Any thread; does not wait for a write.
  std::optional<Date> unsavedSince() const;

 private:
  bool beginWrite();
  void endWrite(bool written);
  bool writePending();
  bool refresh();
  bool readRoot();
  bool setDamagedFileAside(const FileIdentity& identity);
  bool replaceFile(const std::string& contents);
  void removeLeftovers() const;
  bool fail(std::string_view action, const std::string& path) const;

  const std::string path_;
  const std::string folder_;
  const std::function<void(std::string)> diagnose_;

  std::mutex mutex_;                      // guards the file and all up to the next mutex
  Dictionary root_;                       // what the file holds
  std::optional<FileIdentity> identity_;  // of the file that `root_` is from; absent: read it again
  bool wasUnreadable_ = false;            // there is a file, and once it could not be read
  std::map<std::string, Dictionary, std::less<>> pending_;  // set, but not yet in the file

  mutable std::mutex writeMutex_;  // guards all below; taken last
  std::condition_variable writeEnded_;
  bool isWriting_ = false;
  bool isClosed_ = false;
  std::optional<Date> unsavedSince_;
};

}  // namespace revwarden
