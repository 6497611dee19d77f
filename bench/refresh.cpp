// Measures a refresh of the application list without the check. For comparison, simple loops read
// the same bundles: (a) realpath and two stats, (b) open and read, (c) libplist.
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <plist/plist.h>
#include <sys/stat.h>
#include <unistd.h>

#include <climits>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <memory>
#include <optional>

#include "bench/bundle_folder.h"
#include "bench/inline_platform.h"
#include "catalogue/agent_settings.h"
#include "catalogue/excluded_paths.h"
#include "catalogue/item_catalogue.h"
#include "catalogue/pass_guard.h"
#include "catalogue/record_keys.h"
#include "discovery/item_validation.h"
#include "discovery/list_refresh.h"
#include "ports/linux/system/file_user_defaults.h"
#include "ports/linux/system/system_information.h"

namespace revwarden::bench {
namespace {

const BundleFolder& folderOf(int64_t count) {
  static std::map<int64_t, std::unique_ptr<BundleFolder>> folders;
  std::unique_ptr<BundleFolder>& folder = folders[count];
  if (!folder) folder = std::make_unique<BundleFolder>(static_cast<size_t>(count));
  return *folder;
}

// A refresh with the real file system and settings file, without a check.
class Refresh final : PassGuard::Mediator, ItemValidation::Mediator, ListRefresh::Mediator {
 public:
  explicit Refresh(const BundleFolder& folder)
      : settingsFile_(folder.path() + "/state/defaults.plist"),
        machine_({folder.path()}),
        defaults_(settingsFile_, [](const std::string&) {}) {}
  ~Refresh() { std::filesystem::remove_all(std::filesystem::path(settingsFile_).parent_path()); }

  void run() { refresh_.startUpdateApplicationsList(); }
  size_t records() const { return catalogue_.itemsSnapshot().size(); }

  // Gives every record an answer and a time stamp, as after a check.
  void markAllChecked() {
    ItemCatalogue::Access records(catalogue_);
    for (auto position = records->begin(); position != records->end(); ++position) {
      records->replace(position, RecordList::contents(position)
                                     .with(kKQRWAvailableVersionInfoKey, Dictionary())
                                     .with(kKQRWLastFullCheckDate, Date{1}));
    }
  }

 private:
  void scheduleNextUpdate() override {}
  void sendDidStartValidateItem() override {}
  void sendDidFinishValidateItem() override {}
  std::shared_ptr<void> agentReference() override { return nullptr; }
  void notifyDelegateAboutItemsDidChange() override {}
  void dropScheduleTimer() override {}
  void setScanStartedByUser(bool) override {}
  bool takeScanStartedByUser() override { return false; }
  CheckOutcome performCheckForAppsUpdates() override { return {}; }
  void didFinishUpdatingApplicationsList() override {}

  const std::string settingsFile_;
  InlinePlatform world_;
  LinuxSystemInformation machine_;
  FileUserDefaults defaults_;
  const Platform platform_ =
      world_.with(defaults_, machine_, world_.memory.service, world_.memory.service);
  ItemCatalogue catalogue_;
  ExcludedPaths excluded_{world_.files};
  AgentSettings settings_{platform_, catalogue_, excluded_};
  PassGuard pass_{{std::shared_ptr<const Platform>(), &platform_}, *this};
  ItemValidation validation_{platform_, catalogue_, pass_, *this};
  ListRefresh refresh_{platform_, catalogue_, settings_, excluded_, pass_, validation_, *this};
};

void FirstPass(benchmark::State& state) {
  const BundleFolder& folder = folderOf(state.range(0));
  for (auto _ : state) {
    state.PauseTiming();
    auto refresh = std::make_unique<Refresh>(folder);
    state.ResumeTiming();
    refresh->run();
    state.PauseTiming();
    if (refresh->records() != folder.bundles().size()) state.SkipWithError("bundles were missed");
    refresh.reset();
    state.ResumeTiming();
  }
}

void UnchangedPass(benchmark::State& state) {
  const BundleFolder& folder = folderOf(state.range(0));
  Refresh refresh(folder);
  refresh.run();
  refresh.markAllChecked();
  for (auto _ : state) refresh.run();
  if (refresh.records() != folder.bundles().size()) state.SkipWithError("bundles were missed");
}

// (a)
void RealpathAndStats(benchmark::State& state) {
  const BundleFolder& folder = folderOf(state.range(0));
  for (auto _ : state) {
    for (const std::string& bundle : folder.bundles()) {
      char resolved[PATH_MAX];
      struct stat info {};
      benchmark::DoNotOptimize(realpath(bundle.c_str(), resolved));
      benchmark::DoNotOptimize(stat(bundle.c_str(), &info));
      benchmark::DoNotOptimize(stat((bundle + "/Contents/Info.plist").c_str(), &info));
    }
  }
}

std::string contentsOf(const std::string& path) {
  std::string bytes;
  const int file = open(path.c_str(), O_RDONLY | O_CLOEXEC);
  struct stat info {};
  if (file < 0 || fstat(file, &info) != 0) return bytes;
  bytes.resize(static_cast<size_t>(info.st_size));
  const ssize_t length = read(file, bytes.data(), bytes.size());
  close(file);
  bytes.resize(length < 0 ? 0 : static_cast<size_t>(length));
  return bytes;
}

// (b)
void OpenAndRead(benchmark::State& state) {
  const BundleFolder& folder = folderOf(state.range(0));
  for (auto _ : state) {
    for (const std::string& bundle : folder.bundles()) {
      benchmark::DoNotOptimize(contentsOf(bundle + "/Contents/Info.plist"));
    }
  }
}

// (c)
void LibplistLoop(benchmark::State& state) {
  const BundleFolder& folder = folderOf(state.range(0));
  for (auto _ : state) {
    for (const std::string& bundle : folder.bundles()) {
      const std::string bytes = contentsOf(bundle + "/Contents/Info.plist");
      plist_t list = nullptr;
      plist_from_memory(bytes.data(), static_cast<uint32_t>(bytes.size()), &list);
      for (const char* key : {"CFBundleIdentifier", "CFBundleName", "CFBundleShortVersionString",
                              "CFBundleVersion"}) {
        char* text = nullptr;
        plist_get_string_val(plist_dict_get_item(list, key), &text);
        benchmark::DoNotOptimize(text);
        free(text);
      }
      plist_free(list);
    }
  }
}

#define SIZES ->Arg(200)->Arg(2000)->Arg(20000)->Unit(benchmark::kMillisecond)
BENCHMARK(FirstPass) SIZES;
BENCHMARK(UnchangedPass) SIZES;
BENCHMARK(RealpathAndStats) SIZES;
BENCHMARK(OpenAndRead) SIZES;
BENCHMARK(LibplistLoop) SIZES;

}  // namespace
}  // namespace revwarden::bench

// --make-bundles COUNT creates a folder of bundles, prints its path and removes it when standard
// input ends, so that other programs can be measured with the same bundles.
int main(int argc, char** argv) {
  if (argc == 3 && std::string(argv[1]) == "--make-bundles") {
    const revwarden::bench::BundleFolder folder(std::stoul(argv[2]));
    std::puts(folder.path().c_str());
    std::fflush(stdout);
    while (std::getchar() != EOF) {
    }
    return 0;
  }
  benchmark::Initialize(&argc, argv);
  benchmark::RunSpecifiedBenchmarks();
}
