#import "ports/macos/platform/shared_library.h"

#include "base/text.h"
#import "ports/macos/platform/agent_reference.h"
#import "ports/macos/platform/foundation_values.h"
#import "ports/macos/platform/retained.h"
#import "ports/macos/platform/shared_utils.h"

namespace revwarden {
namespace {

class SharedVersion final : public KQVersion {
 public:
  explicit SharedVersion(::KQVersion* version) : version_(version) {}

  std::weak_ordering compare(const KQVersion& other) const override {
    const AutoreleasePool pool;
    const auto& otherVersion = static_cast<const SharedVersion&>(other);
    return [version() compare:otherVersion.version()] <=> NSOrderedSame;
  }

  std::string stringRepresentation() const override {
    const AutoreleasePool pool;
    return textOf([version() stringRepresentation]);
  }

  ::KQVersion* version() const { return version_.get(); }

 private:
  const Retained version_;
};

Versions::VersionRef wrapped(::KQVersion* version) {
  return version ? std::make_shared<SharedVersion>(version) : nullptr;
}

::KQVersion* unwrapped(const Versions::VersionRef& version) {
  return version ? static_cast<const SharedVersion&>(*version).version() : nil;
}

Result<> resultOf(id error) {
  if (!error) return kSuccess;
  return Error{"", textOf([error description])};
}

class SharedHelperTask final : public KQHelperTask {
 public:
  explicit SharedHelperTask(::KQHelperTask* task) : task_(task) {}

  Result<std::string> moveItemAtPathToTrash(std::string_view path) override {
    const AutoreleasePool pool;
    const Result<> moved = resultOf([task() moveItemAtPathToTrash:foundationText(path)]);
    if (!moved) return moved.error();
    return std::string();  // the shared library does not return the path
  }

  Result<> performCopyItemAtPath_toPath(std::string_view source,
                                        std::string_view destination) override {
    const AutoreleasePool pool;
    return resultOf([task() performCopyItemAtPath:foundationText(source)
                                           toPath:foundationText(destination)]);
  }

  Result<> performAction_withArguments(
      std::string_view action, const std::map<std::string, std::string>& arguments) override {
    const AutoreleasePool pool;
    NSMutableDictionary* const texts = [NSMutableDictionary dictionary];
    for (const auto& [name, text] : arguments) {
      [texts setObject:foundationText(text) forKey:foundationText(name)];
    }
    return resultOf([task() performAction:foundationText(action) withArguments:texts]);
  }

  void stop() override {
    const AutoreleasePool pool;
    [task() stop];
  }

 private:
  ::KQHelperTask* task() const { return task_.get(); }

  const Retained task_;
};

}  // namespace

void SharedLog::NSLog(std::string_view format, const Arguments& arguments) {
  const AutoreleasePool pool;
  ::NSLog(@"%@", foundationText(formatted(format, arguments)));
}

void SharedLog::KQLog(std::string_view format, const Arguments& arguments) {
  const AutoreleasePool pool;
  ::KQLog(@"%@", foundationText(formatted(format, arguments)));
}

std::string SharedLocalization::KQLocalizedString(std::string_view key) const {
  const AutoreleasePool pool;
  return textOf(_KQLocalizedString(agent_->agentClass, foundationText(key)));
}

std::string SharedLocalization::KQLocalizedNumberStringWithFormat(std::string_view format,
                                                                  uint32_t count,
                                                                  std::string_view text) const {
  const AutoreleasePool pool;
  const id owner = agent_->agent ? agent_->agent : agent_->agentClass;
  return textOf(_KQLocalizedNumberStringWithFormat(owner, foundationText(format), count,
                                                   foundationText(text)));
}

std::vector<std::string> SharedSystemInformation::allApplicationsPaths() {
  const AutoreleasePool pool;
  return textsOf([::KQSystemInformation allApplicationsPaths]);
}

std::optional<std::string> SharedSystemInformation::computerSerialNumber() const {
  const AutoreleasePool pool;
  return optionalTextOf([::KQSystemInformation computerSerialNumber]);
}

std::string SharedSystemInformation::systemVersionString() const {
  const AutoreleasePool pool;
  return textOf([::KQSystemInformation systemVersionString]);
}

bool SharedSystemInformation::isPowerPC() const {
  return [::KQSystemInformation isPowerPC];
}

bool SharedSystemInformation::is64BitCapable() const {
  return [::KQSystemInformation is64BitCapable];
}

std::string SharedProductInformation::URLWithScheme_service_path(std::string_view scheme,
                                                                 std::string_view service,
                                                                 std::string_view path) const {
  const AutoreleasePool pool;
  NSURL* const url = [::KQProductInformation URLWithScheme:foundationText(scheme)
                                                   service:foundationText(service)
                                                      path:foundationText(path)];
  return textOf([url absoluteString]);
}

std::string SharedProductInformation::productName() const {
  return textOf(kKQProductName);
}

Versions::VersionRef SharedVersions::versionWithValue(const Value* value) const {
  const AutoreleasePool pool;
  if (!value || !(value->as<std::string>() || value->as<int64_t>() || value->as<double>())) {
    return nullptr;
  }
  return wrapped([::KQVersion versionWithValue:foundationValue(*value)]);
}

Versions::VersionRef SharedVersions::betterVersionOfShort_andFull(
    const VersionRef& shortVersion, const VersionRef& fullVersion) const {
  const AutoreleasePool pool;
  return wrapped([::KQVersion betterVersionOfShort:unwrapped(shortVersion)
                                           andFull:unwrapped(fullVersion)]);
}

Result<std::shared_ptr<KQHelperTask>> SharedHelpers::rootTaskWithPrompt(std::string_view prompt) {
  const AutoreleasePool pool;
  ::KQHelperTask* const task =
      [[::KQHelperManager sharedManager] rootTaskWithPrompt:foundationText(prompt)];
  if (!task) return Error{"notAuthorized", "administrator rights were not granted"};
  return std::shared_ptr<KQHelperTask>(std::make_shared<SharedHelperTask>(task));
}

}  // namespace revwarden
