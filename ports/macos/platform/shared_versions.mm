#import "ports/macos/platform/shared_versions.h"

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

}  // namespace

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

}  // namespace revwarden
