#pragma once

#include <algorithm>
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

/// What update jobs did to the world, one line each, in the order it happened on all threads.
class Journal {
 public:
  explicit Journal(RunLoop& loop) : loop_(loop) {}

  /// Adds a line and lets it pass; whether what it tells succeeds.
  bool add(const std::string& line) {
    {
      const std::lock_guard lock(mutex_);
      lines_.push_back(prefix ? prefix() + line : line);
    }
    pass(line);
    return std::none_of(failing.begin(), failing.end(),
                        [&](const std::string& beginning) { return line.starts_with(beginning); });
  }
  /// Waits here when lines with this beginning are held.
  void pass(const std::string& line) {
    std::unique_lock lock(mutex_);
    if (held_.empty() || !line.starts_with(held_)) return;
    ++waiting_;
    loop_.post([] {});
    changed_.wait(lock, [&] { return held_.empty(); });
  }
  void hold(const std::string& beginning) {
    const std::lock_guard lock(mutex_);
    held_ = beginning;
    waiting_ = 0;
  }
  void release() {
    hold("");
    changed_.notify_all();
  }
  int waiting() const {
    const std::lock_guard lock(mutex_);
    return waiting_;
  }
  /// The lines so far, which are then forgotten.
  std::vector<std::string> take() {
    const std::lock_guard lock(mutex_);
    return std::exchange(lines_, {});
  }
  const char* thread() const { return loop_.isMainThread() ? "" : " (in the background)"; }

  std::vector<std::string> failing;     // beginnings of the lines that fail
  std::function<std::string()> prefix;  // put before every line

 private:
  RunLoop& loop_;
  mutable std::mutex mutex_;
  std::condition_variable changed_;
  std::vector<std::string> lines_;
  std::string held_;
  int waiting_ = 0;
};

/// The network: at each address the turns that its download takes.
struct FakeDownloads final : URLDownloads {
  using Turn = std::function<void(URLDownloadDelegate&)>;

  static Turn response(std::string type, int64_t length = -1) {
    return [=](URLDownloadDelegate& job) { job.download_didReceiveResponse(type, length); };
  }
  static Turn destination(std::optional<std::string> name) {
    return [=](URLDownloadDelegate& job) {
      job.download_decideDestinationWithSuggestedFilename(name);
    };
  }
  static Turn data(int64_t length) {
    return [=](URLDownloadDelegate& job) { job.download_didReceiveDataOfLength(length); };
  }
  static Turn finish() {
    return [](URLDownloadDelegate& job) { job.downloadDidFinish(); };
  }
  static Turn failure(URLDownloadError error) {
    return [=](URLDownloadDelegate& job) { job.download_didFailWithError(error); };
  }
  static std::vector<Turn> file(const std::string& name) {
    return {response("application/octet-stream", 10), destination(name), data(10), finish()};
  }

  std::unique_ptr<URLDownload> beginDownload(const std::string& url,
                                             URLDownloadDelegate& delegate) override {
    struct Running final : URLDownload {
      Running(std::vector<Turn> what, URLDownloadDelegate& who)
          : left(std::move(what)), receiver(who) {}
      bool runOneTurn() override {
        if (next == left.size()) return false;
        left[next++](receiver);
        return true;
      }
      const std::vector<Turn> left;
      URLDownloadDelegate& receiver;
      size_t next = 0;
    };
    return std::make_unique<Running>(turns[url], delegate);
  }

  std::map<std::string, std::vector<Turn>> turns;
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

  // Programs: "unzip" knows the archives; "hdiutil" the images, which it mounts at one place while
  // hidden and at another one where the user sees them.
  std::optional<Result> run(const ChildProcess& child) override {
    std::string line = child.program;
    for (const std::string& argument : child.arguments) line += " " + argument;
    for (const auto& [name, value] :
         child.environment.value_or(std::map<std::string, std::string>()))
      line += " " + name + "=" + value;
    if (child.input) line += " < " + *child.input;
    if (child.collectsOutput) line += " > collected";
    journal.add(line);
    const std::string& file = child.arguments[1 + (child.program == "/usr/bin/unzip")];
    if (child.program == "/usr/bin/unzip") return Result{archives.contains(file) ? 0 : 9, ""};
    if (child.arguments[0] != "attach" || !images.contains(file)) return std::nullopt;
    const bool hidden = line.find(" -nobrowse ") != line.npos;
    return Result{1, hidden ? "/Volumes/hidden" : "/Volumes/seen"};
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
  bool removeItemAtPath(std::string_view path) override {
    return journal.add("remove " + std::string(path));
  }
  bool moveItemAtPathToTrash(std::string_view path) override {
    return journal.add("trash " + std::string(path));
  }
  std::optional<std::string> copyDirectoryAtPath_toPath(std::string_view source,
                                                        std::string_view destination) override {
    return errorUnless(
        journal.add("copy " + std::string(source) + " to " + std::string(destination)));
  }

  bool openURL(std::string_view url) override { return journal.add("open " + std::string(url)); }
  bool selectFile_inFileViewerRootedAtPath(std::string_view path, std::string_view root) override {
    return journal.add("select " + std::string(path) + " in " + std::string(root));
  }
  std::vector<std::string> launchedApplicationPaths() override { return running; }
  std::optional<std::string> executeSource(std::string_view source) override {
    return errorUnless(journal.add("script " + std::string(source) + journal.thread()));
  }

  struct RootTask final : KQHelperTask {
    explicit RootTask(Journal& book) : journal(book) {}
    std::optional<std::string> moveItemAtPathToTrash(std::string_view path) override {
      return errorUnless(journal.add("root trash " + std::string(path)));
    }
    std::optional<std::string> performCopyItemAtPath_toPath(std::string_view source,
                                                            std::string_view target) override {
      return errorUnless(
          journal.add("root copy " + std::string(source) + " to " + std::string(target)));
    }
    std::optional<std::string> performAction_withArguments(
        std::string_view action, const std::map<std::string, std::string>& arguments) override {
      std::string line = "root " + std::string(action);
      for (const auto& [name, value] : arguments) line += " " + name + "=" + value;
      return errorUnless(journal.add(line));
    }
    void stop() override { journal.add("root stop"); }
    Journal& journal;
  };
  std::shared_ptr<KQHelperTask> rootTaskWithPrompt(std::string_view prompt) override {
    if (!journal.add("prompt " + std::string(prompt))) return nullptr;
    return std::make_shared<RootTask>(journal);
  }

  void activateHostApp() override {
    journal.add("activate the product" + std::string(journal.thread()));
  }
  std::shared_ptr<NotificationTarget> notificationTarget() override { return hostTarget; }
  std::shared_ptr<KQUninstallerAgent> instanceWithClassName(std::string_view name) override {
    struct Uninstaller final : KQUninstallerAgent {
      explicit Uninstaller(Journal& book) : journal(book) {}
      void addSilentRemoveBundleID(std::string_view id) override {
        journal.add("expect removal of " + std::string(id) + journal.thread());
      }
      Journal& journal;
    };
    return name == "KQUninstallerAgent" && hasUninstaller ? std::make_shared<Uninstaller>(journal)
                                                          : nullptr;
  }

  static std::optional<std::string> errorUnless(bool success) {
    return success ? std::nullopt : std::optional<std::string>("it failed");
  }

  Journal& journal;
  std::set<std::string> archives, images;  // paths
  std::map<std::string, std::vector<std::string>, std::less<>> folders;
  std::vector<std::string> downloads = {"/home/u/Downloads", "/other"};
  std::vector<std::string> running;  // applications
  std::shared_ptr<NotificationTarget> hostTarget;
  bool hasUninstaller = true;
};

}  // namespace revwarden
