#include "ports/linux/bundles/linux_bundles.h"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <utility>

#include "ports/linux/property_lists/property_list.h"

namespace revwarden {
namespace {

constexpr size_t kMaxBufferKept = size_t{64} << 10;
constexpr size_t kMaxReadersKept = 4;
constexpr size_t kFirstCleaningSize = 1024;

constexpr std::string_view kIdentifier = "CFBundleIdentifier";
constexpr std::string_view kName = "CFBundleName";
constexpr std::string_view kShortVersion = "CFBundleShortVersionString";
constexpr std::string_view kVersion = "CFBundleVersion";
constexpr std::array<std::string_view, 4> kKeys = {kIdentifier, kName, kShortVersion, kVersion};

std::optional<Value> textOrNumberIn(const Dictionary& information, std::string_view key) {
  const Value* value = information.find(key);
  const bool fits =
      value && (value->as<std::string>() || value->as<int64_t>() || value->as<double>());
  return fits ? std::optional(*value) : std::nullopt;
}

std::shared_ptr<const Bundle> bundleFrom(const Dictionary& information) {
  std::optional<std::string> identifier = information.textFor(kIdentifier);
  if (identifier && identifier->empty()) identifier.reset();
  return std::make_shared<const Bundle>(
      Bundle{.bundleIdentifier = std::move(identifier),
             .bundleName = information.textFor(kName),
             .shortVersionString = textOrNumberIn(information, kShortVersion),
             .bundleVersion = textOrNumberIn(information, kVersion)});
}

std::shared_ptr<const Bundle> mainBundle(std::optional<std::string> version) {
  auto bundle = std::make_shared<Bundle>();
  if (version) bundle->shortVersionString = Value(*std::move(version));
  return bundle;
}

}  // namespace

struct LinuxBundles::Reader {
  PropertyListReader lists;
  std::string contents;
};

LinuxBundles::LinuxBundles(std::optional<std::string> mainVersion,
                           std::optional<std::string> pluginPath)
    : mainBundle_(mainBundle(std::move(mainVersion))),
      pluginPath_(std::move(pluginPath)),
      cleaningSize_(kFirstCleaningSize) {
  entries_.max_load_factor(0.5F);  // nearly every look-up of a refresh finds something
}

LinuxBundles::~LinuxBundles() = default;

std::shared_ptr<const Bundle> LinuxBundles::threadSafeBundleWithPath(std::string_view path) {
  if (const std::optional<Entry> entry = entryFor(path); entry && entry->isSettled) {
    if (findInformationFile(path) == entry->file) return entry->bundle;
  }
  return readBundle(path);
}

void LinuxBundles::forget(std::string_view path) {
  const std::lock_guard lock(mutex_);
  const auto found = entries_.find(path);
  if (found != entries_.end()) entries_.erase(found);
}

std::optional<std::string> LinuxBundles::pathForPluginResource(std::string_view name) {
  if (!pluginPath_ || name.empty() || name == "." || name == ".." || name.find('/') != name.npos) {
    return std::nullopt;
  }
  std::string path = *pluginPath_ + "/Contents/Resources/" + std::string(name);
  return access(path.c_str(), F_OK) == 0 ? std::optional(std::move(path)) : std::nullopt;
}

std::optional<LinuxBundles::Entry> LinuxBundles::entryFor(std::string_view path) {
  const std::lock_guard lock(mutex_);
  ++uses_;
  const auto found = entries_.find(path);
  if (found == entries_.end()) return std::nullopt;
  found->second.lastUse = uses_;
  return found->second;
}

LinuxBundles::BundleRef LinuxBundles::readBundle(std::string_view path) {
  std::unique_ptr<Reader> reader = takeReader();
  const Result<InformationFile> file = readInformationFile(path, reader->contents);
  if (!file) {
    giveBack(std::move(reader));
    forget(path);
    return nullptr;
  }
  Entry entry{.bundle = nullptr, .file = *file, .isSettled = file->state.isSettled()};
  if (const auto information = reader->lists.readEntries(reader->contents, kKeys)) {
    entry.bundle = bundleFrom(*information);
  }
  giveBack(std::move(reader));
  keep(path, entry);
  return entry.bundle;
}

void LinuxBundles::keep(std::string_view path, Entry entry) {
  const std::lock_guard lock(mutex_);
  entry.lastUse = uses_;
  if (entries_.size() >= cleaningSize_) dropUnused();
  entries_.insert_or_assign(std::string(path), std::move(entry));
}

void LinuxBundles::dropUnused() {
  // A pass asks for every bundle once, so one that two passes did not ask for has gone.
  const uint64_t recent = 2 * entries_.size();
  std::erase_if(entries_, [&](const auto& item) { return item.second.lastUse + recent < uses_; });
  cleaningSize_ = std::max(kFirstCleaningSize, 2 * entries_.size());
}

std::unique_ptr<LinuxBundles::Reader> LinuxBundles::takeReader() {
  const std::lock_guard lock(mutex_);
  if (idleReaders_.empty()) return std::make_unique<Reader>();
  std::unique_ptr<Reader> reader = std::move(idleReaders_.back());
  idleReaders_.pop_back();
  return reader;
}

void LinuxBundles::giveBack(std::unique_ptr<Reader> reader) {
  if (reader->contents.capacity() > kMaxBufferKept) std::string().swap(reader->contents);
  const std::lock_guard lock(mutex_);
  if (idleReaders_.size() < kMaxReadersKept) idleReaders_.push_back(std::move(reader));
}

}  // namespace revwarden
