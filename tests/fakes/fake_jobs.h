#pragma once

#include <atomic>
#include <condition_variable>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "platform/child_process.h"
#include "platform/file_operations.h"
#include "platform/helper.h"
#include "platform/host_application.h"
#include "platform/property_list.h"
#include "platform/run_loop.h"
#include "platform/url_download.h"
#include "platform/workspace.h"

namespace revwarden {

/// What was done, one line each, in the order it happened on all threads. Lines with a certain
/// beginning can be held, or fail.
class Journal {
 public:
  explicit Journal(RunLoop& loop) : loop_(loop) {}

  /// Adds a line of these words and lets it pass. Returns true if the operation is to succeed.
  template <typename... Words>
  bool add(const Words&... words) {
    std::string line;
    ((line += line.empty() || std::string_view(words).empty() ? "" : " ", line += words), ...);
    {
      const std::lock_guard lock(mutex_);
      lines_ += (prefix ? prefix() + line : line) + "\n";
    }
    pass(line);
    return failing.empty() || !line.starts_with(failing);
  }
  /// Waits here while such lines are held.
  void pass(const std::string& line) {
    if (onPass) onPass(line);
    std::unique_lock lock(mutex_);
    if (held_.empty() || !line.starts_with(held_)) return;
    ++waiting;
    loop_.post([] {});
    changed_.wait(lock, [&] { return held_.empty(); });
  }
  void hold(const std::string& beginning) {
    const std::lock_guard lock(mutex_);
    held_ = beginning;
    waiting = 0;
    changed_.notify_all();
  }
  void release() { hold(""); }
  /// The lines so far, each with its line break, which are then forgotten.
  std::string take() {
    const std::lock_guard lock(mutex_);
    return std::exchange(lines_, {});
  }
  /// A word for lines that tell their thread.
  const char* thread() const { return loop_.isMainThread() ? "" : "(in the background)"; }

  std::atomic<int> waiting = 0;         // threads that are held
  std::string failing;                  // the beginning
  std::function<std::string()> prefix;  // put before every line
  std::function<void(const std::string&)> onPass;

 private:
  RunLoop& loop_;
  mutable std::mutex mutex_;
  std::condition_variable changed_;
  std::string lines_, held_;
};

/// The network. Each turn of a download can be held: "begin ADDRESS", "response", "name", "data",
/// "end".
struct FakeDownloads final : URLDownloads {
  struct File {
    std::string type = "application/octet-stream";
    std::optional<std::string> name = "U.zip";
    int64_t length = 10;
    int status = 200;
    std::vector<int64_t> pieces = {10};
    std::optional<URLDownloadError> error;  // in place of the end
  };
  struct Running final : URLDownload {
    Running(const File& what, URLDownloadDelegate& who, Journal& book)
        : file(what), job(who), journal(book) {}
    bool runOneTurn() override {
      const size_t turn = next++, end = 2 + file.pieces.size();
      if (turn > end) return false;
      journal.pass(turn == end ? "end" : turn > 1 ? "data" : turn == 1 ? "name" : "response");
      if (turn == 0) job.download_didReceiveResponse({file.type, file.length, file.status});
      if (turn == 1) job.download_decideDestinationWithSuggestedFilename(file.name);
      if (turn > 1 && turn < end) job.download_didReceiveDataOfLength(file.pieces[turn - 2]);
      if (turn == end && file.error) job.download_didFailWithError(*file.error);
      if (turn == end && !file.error) job.downloadDidFinish();
      return true;
    }
    const File file;
    URLDownloadDelegate& job;
    Journal& journal;
    size_t next = 0;
  };

  explicit FakeDownloads(Journal& book) : journal(book) {}
  std::unique_ptr<URLDownload> beginDownload(const std::string& url,
                                             URLDownloadDelegate& job) override {
    journal.pass("begin " + url);
    return std::make_unique<Running>(files.contains(url) ? files.at(url) : File(), job, journal);
  }
  Journal& journal;
  std::map<std::string, File> files;  // by address
};

/// The rest of what update jobs touch. All of it goes into the journal.
struct FakeMachine final : ChildProcesses,
                           FileOperations,
                           PropertyLists,
                           Workspace,
                           AppleScripts,
                           KQHelperManager,
                           HostJobSupport {
  explicit FakeMachine(Journal& book) : journal(book) {}

  // "unzip" knows the archives; "hdiutil" the images, which it mounts at one place while hidden and
  // at another where the user sees them.
  std::optional<Completion> run(const ChildProcess& child) override {
    std::string line = child.program;
    for (const std::string& argument : child.arguments) line += " " + argument;
    for (const auto& [name, value] :
         child.environment.value_or(std::map<std::string, std::string>()))
      line += " " + name + "=" + value;
    journal.add(line, child.input ? "< " + *child.input : "", child.collectsOutput ? "> read" : "");
    if (child.program == "/usr/bin/unzip") {
      return Completion{archives.contains(child.arguments[2]) ? 0 : unzipStatus, "", ""};
    }
    if (child.arguments[0] != "attach" || !images.contains(child.arguments[1])) return std::nullopt;
    return Completion{1, child.arguments[3] == "-nobrowse" ? "/Volumes/hidden" : "/Volumes/seen",
                      ""};
  }
  std::optional<Value> propertyListFromData(std::string_view bytes) const override {
    return Dictionary{{"system-entities", Array({Dictionary{{"dev-entry", "/dev/disk9"}},
                                                 Dictionary{{"mount-point", bytes}},
                                                 Dictionary{{"mount-point", "/Volumes/other"}}})}};
  }

  std::string homeDirectory() const override { return "/home/u"; }
  std::vector<std::string> downloadsDirectories() const override { return downloads; }
  std::vector<std::string> contentsOfDirectoryAtPath(std::string_view path) const override {
    journal.pass("list " + std::string(path));
    const auto found = folders.find(path);
    return found == folders.end() ? std::vector<std::string>() : found->second;
  }
  bool removeItemAtPath(std::string_view path) override { return journal.add("remove", path); }
  Result<std::string> moveItemAtPathToTrash(std::string_view path) override {
    return trashedUnless(!journal.add("trash", path));
  }
  Result<> copyDirectoryAtPath_toPath(std::string_view from, std::string_view to) override {
    return errorUnless(journal.add("copy", from, "to", to));
  }

  bool openURL(std::string_view url) override { return journal.add("open", url); }
  void openURL_whenOpened(std::string_view url, std::function<void(bool)> opened) override {
    opened(openURL(url));
  }
  bool selectFile_inFileViewerRootedAtPath(std::string_view path, std::string_view root) override {
    return journal.add("select", path, "in", root);
  }
  std::vector<std::string> launchedApplicationPaths() override { return running; }
  Result<> executeSource(std::string_view source) override {
    return errorUnless(journal.add("script", source, journal.thread()));
  }

  struct Other final : KQHelperTask, KQUninstallerAgent {
    explicit Other(Journal& book) : journal(book) {}
    Result<std::string> moveItemAtPathToTrash(std::string_view path) override {
      return trashedUnless(!journal.add("root trash", path));
    }
    Result<> performCopyItemAtPath_toPath(std::string_view from, std::string_view to) override {
      return errorUnless(journal.add("root copy", from, "to", to));
    }
    Result<> performAction_withArguments(std::string_view action,
                                         const std::map<std::string, std::string>& named) override {
      return errorUnless(journal.add("root", action, named.at("SCRIPT"), named.at("PKG_PATH")));
    }
    void stop() override { journal.add("root stop"); }
    void addSilentRemoveBundleID(std::string_view id) override {
      journal.add("expect removal of", id, journal.thread());
    }
    Journal& journal;
  };
  Result<std::shared_ptr<KQHelperTask>> rootTaskWithPrompt(std::string_view prompt) override {
    if (!journal.add("prompt", prompt)) return Error{"notAuthorized", "it failed"};
    return std::shared_ptr<KQHelperTask>(std::make_shared<Other>(journal));
  }
  std::shared_ptr<KQUninstallerAgent> instanceWithClassName(std::string_view name) override {
    if (name != "KQUninstallerAgent" || !hasUninstaller) return nullptr;
    return std::make_shared<Other>(journal);
  }
  void activateHostApp() override { journal.add("activate the product", journal.thread()); }
  std::shared_ptr<NotificationTarget> notificationTarget() override { return hostTarget; }

  static Result<> errorUnless(bool success) {
    if (success) return kSuccess;
    return Error{"", "it failed"};
  }
  static Result<std::string> trashedUnless(bool fails) {
    if (fails) return Error{"", "it failed"};
    return std::string("/Trash/old");
  }

  Journal& journal;
  std::set<std::string> archives, images;  // paths
  int unzipStatus = 1;                     // for what is no archive
  std::map<std::string, std::vector<std::string>, std::less<>> folders;
  std::vector<std::string> downloads = {"/home/u/Downloads", "/other"};
  std::vector<std::string> running;  // applications
  std::shared_ptr<NotificationTarget> hostTarget;
  bool hasUninstaller = true;
};

}  // namespace revwarden
