#pragma once

#include "base/text.h"
#include "platform/bundle.h"
#include "platform/file_manager.h"
#include "platform/localization.h"
#include "platform/log.h"
#include "platform/outcomes.h"
#include "platform/platform.h"
#include "platform/system_information.h"
#include "platform/url_connection.h"
#include "platform/user_defaults.h"
#include "ports/posix/libxml_documents.h"
#include "ports/posix/natural_versions.h"
#include "tests/fakes/fake_jobs.h"
#include "tests/fakes/manual_run_loop.h"

namespace revwarden {

/// An in-memory disk: bundles by path, links, and which folders lie where. Change it only while no
/// pass runs.
struct FakeDisk final : FileManager, Bundles, KQSystemInformation {
  std::map<std::string, std::shared_ptr<const Bundle>, std::less<>> bundles;  // null: unreadable
  std::map<std::string, std::string, std::less<>> links;
  std::set<std::string> flushed;
  bool movable = true;
  std::set<std::string, std::less<>> unmovable;
  std::optional<std::string> serial = "C02SERIAL";
  std::optional<std::string> hostVersion = "7.1";

  /// Puts an application on the disk, in the place of one at the same path.
  void install(const std::string& path, const std::string& version,
               std::optional<std::string> name = std::nullopt, std::string id = "") {
    Bundle bundle;
    if (id.empty())
      id = "org.example." + std::string(deletingPathExtension(lastPathComponent(path)));
    bundle.bundleIdentifier = id;
    bundle.bundleName = std::move(name);
    bundle.shortVersionString = version;
    bundles[path] = std::make_shared<const Bundle>(bundle);
  }

  struct Inspector final : PathInspector {
    explicit Inspector(FakeDisk& owner) : disk(owner) {}
    std::optional<std::string> resolvedPath(std::string_view path) override {
      if (path == "/tmp") return "/private/tmp";
      const auto link = disk.links.find(path);
      const std::string target(link == disk.links.end() ? path : link->second);
      return disk.bundles.contains(target) ? std::optional(target) : std::nullopt;
    }
    bool fileExistsAtPath(std::string_view path) override {
      return disk.bundles.contains(path) || disk.links.contains(path);
    }
    bool isPathOnStorageDevice(std::string_view path) override {
      return !path.empty() && !path.starts_with("/net/");
    }
    bool isFileWithPathInTrash(std::string_view path) override {
      return path.find("/.Trash/") != path.npos;
    }
    bool pathIsContentOfPackage(std::string_view path) override {
      return path.find(".app/") != path.npos;
    }
    std::string localVolumePathFromFullPath(std::string_view path) override {
      const std::string_view volume = "/Volumes/X";  // the only other one
      return std::string(path.starts_with("/Volumes/X/") ? path.substr(volume.size()) : path);
    }
    bool pathIsOnSystemVolume(std::string_view path) override {
      return !path.empty() && localVolumePathFromFullPath(path) == path;
    }
    FakeDisk& disk;
  };

  std::unique_ptr<PathInspector> inspectorForPass() override {
    return std::make_unique<Inspector>(*this);
  }
  std::string temporaryDirectory() const override { return "/tmp"; }
  bool isMovableFileAtPath(std::string_view path) const override {
    return movable && !unmovable.contains(path);
  }

  std::shared_ptr<const Bundle> threadSafeBundleWithPath(std::string_view path) override {
    const auto found = bundles.find(path);
    return found == bundles.end() ? nullptr : found->second;
  }
  void flushBundleCachesForPath(std::string_view path) override { flushed.emplace(path); }
  std::shared_ptr<const Bundle> threadSafeMainBundle() override {
    Bundle bundle;
    if (hostVersion) bundle.shortVersionString = *hostVersion;
    return std::make_shared<const Bundle>(bundle);
  }
  std::optional<std::string> pathForPluginResource(std::string_view name) override {
    return "/plugin/" + std::string(name);
  }

  std::vector<std::string> allApplicationsPaths() override {
    std::vector<std::string> paths;
    for (const auto& [path, bundle] : bundles) paths.push_back(path);
    for (const auto& [path, target] : links) paths.push_back(path);
    return paths;
  }
  std::optional<std::string> computerSerialNumber() const override { return serial; }
  std::string systemVersionString() const override { return "Version 10.6.8"; }
  bool isPowerPC() const override { return false; }
  bool is64BitCapable() const override { return true; }
};

struct FakeDefaults final : UserDefaults {
  std::optional<Dictionary> dictionaryForKey(std::string_view key) override {
    const std::lock_guard lock(mutex);
    const auto found = stored.find(key);
    return found == stored.end() ? std::nullopt : std::optional(found->second);
  }
  void setDictionary(const Dictionary& dictionary, std::string_view key) override {
    const std::lock_guard lock(mutex);
    stored.insert_or_assign(std::string(key), dictionary);
  }
  bool synchronize() override { return ++writes > 0; }

  std::mutex mutex;
  std::map<std::string, Dictionary, std::less<>> stored;
  std::atomic<int> writes = 0;
};

struct RecordingLog final : Log {
  void NSLog(std::string_view format, const Arguments& arguments) override {
    add("log ", formatted(format, arguments));
  }
  void KQLog(std::string_view format, const Arguments& arguments) override {
    add("KQLog ", formatted(format, arguments));
  }
  void add(const std::string& kind, const std::string& line) {
    if (onLine) onLine(kind + line);
    const std::lock_guard lock(mutex);
    lines.push_back(line);
  }
  std::function<void(const std::string&)> onLine;  // set it while no pass and no job runs
  std::mutex mutex;
  std::vector<std::string> lines;
};

struct PlainLocalization final : Localization {
  std::string KQLocalizedString(std::string_view key) const override { return std::string(key); }
  std::string KQLocalizedNumberStringWithFormat(std::string_view format, uint32_t count,
                                                std::string_view text) const override {
    return std::string(format) + "|" + std::to_string(count) + "|" + std::string(text);
  }
};

/// The update service: answers each request with what `answer` makes of it, on the asking thread.
struct FakeService final : URLConnection, KQProductInformation {
  URLExchange sendSynchronousRequest(const URLRequest& request) override {
    std::unique_lock lock(mutex);
    requests.push_back(request);
    lock.unlock();
    if (const auto body = answer(request)) return {.status = 200, .body = *body};
    return {.status = {}, .body = Error{"connection", "refused"}};
  }
  std::string URLWithScheme_service_path(std::string_view scheme, std::string_view service,
                                         std::string_view path) const override {
    return std::string(scheme) + "://" + std::string(service) + ".test" + std::string(path);
  }
  std::string productName() const override { return "Pellmark"; }

  std::function<std::optional<std::string>(const URLRequest&)> answer = [](const URLRequest&) {
    return std::nullopt;
  };
  std::mutex mutex;
  std::vector<URLRequest> requests;
};

struct FakeHost final : HostApplication, WakeNotifications {
  HostNotification notificationInstance() override { return {}; }
  void showNotification(const HostNotification& notice) override {
    if (onShow) onShow(notice);
    shown.push_back(notice);
  }
  std::optional<std::string> hostAppPath() override { return productPath; }
  std::shared_ptr<HostAppProxy> hostAppProxyWithTargetId_protocol(std::string_view,
                                                                  std::string_view) override {
    return nullptr;
  }
  std::unique_ptr<Observation> observeDidWake(std::function<void()> handler) override {
    wake = std::move(handler);
    struct Registration final : Observation {
      explicit Registration(std::function<void()>& slot) : handlerSlot(slot) {}
      ~Registration() override { handlerSlot = nullptr; }
      std::function<void()>& handlerSlot;
    };
    return std::make_unique<Registration>(wake);
  }

  std::vector<HostNotification> shown;
  std::function<void(const HostNotification&)> onShow;
  std::optional<std::string> productPath = "/Applications/Pellmark.app";
  std::function<void()> wake;
};

struct RecordedOutcomes final : OutcomeReceiver {
  void jobEnded(const JobOutcome& outcome) override {
    const std::lock_guard lock(mutex);
    jobs.push_back(outcome);
  }
  void checkEnded(const CheckOutcome& outcome) override { checks.push_back(outcome); }

  std::mutex mutex;
  std::vector<JobOutcome> jobs;
  std::vector<CheckOutcome> checks;
};

/// Every platform object of the agent, in memory.
struct FakePlatform {
  ManualClock clock;
  ManualRunLoop loop{clock};
  RecordingLog log;
  PlainLocalization localization;
  FakeDefaults defaults;
  FakeDisk disk;
  NaturalVersions versions;
  LibxmlDocuments xml;
  FakeService service;
  FakeHost host;
  RecordedOutcomes outcomes;
  Journal journal{loop};
  FakeDownloads downloads{journal};
  FakeMachine machine{journal};
  Platform platform{.mainLoop = loop,
                    .threads = threads,
                    .clock = clock,
                    .log = log,
                    .localization = localization,
                    .userDefaults = defaults,
                    .files = disk,
                    .bundles = disk,
                    .versions = versions,
                    .systemInformation = disk,
                    .productInformation = service,
                    .xml = xml,
                    .connection = service,
                    .wake = host,
                    .host = host,
                    .outcomes = outcomes,
                    .downloads = downloads,
                    .children = machine,
                    .fileOperations = machine,
                    .propertyLists = machine,
                    .workspace = machine,
                    .scripts = machine,
                    .helpers = machine,
                    .hostJobs = machine};
  CountedThreads threads;

  /// Makes the download an archive with these names. A.app in it is version 2.0.
  void makeArchive(const std::vector<std::string>& names) {
    machine.archives = {"/tmp/U.zip"};
    machine.folders["/tmp/U.unpacked"] = names;
    disk.install("/tmp/U.unpacked/A.app", "2.0");
  }
  /// Makes the file at a path a disk image with these names. A.app in it is version 2.0.
  void makeImage(const std::string& path, const std::vector<std::string>& names) {
    machine.images = {path};
    machine.folders["/Volumes/hidden"] = names;
    disk.install("/Volumes/hidden/A.app", "2.0");
  }

  std::shared_ptr<const Platform> reference() {
    return {std::shared_ptr<const Platform>(), &platform};
  }
};

}  // namespace revwarden
