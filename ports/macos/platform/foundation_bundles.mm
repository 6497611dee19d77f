#import "ports/macos/platform/foundation_bundles.h"

#import "ports/macos/platform/foundation_values.h"
#import "ports/macos/platform/retained.h"
#import "ports/macos/platform/shared_utils.h"

#ifdef __APPLE__
#import <CoreFoundation/CoreFoundation.h>
// Private function, possibly missing: weakly linked and tested before the call.
extern "C" void _CFBundleFlushBundleCaches(CFBundleRef bundle) __attribute__((weak_import));
#endif

namespace revwarden {
namespace {

std::optional<Value> textOrNumberFor(NSString* key, NSDictionary* information) {
  const id value = [information objectForKey:key];
  const bool isEither =
      [value isKindOfClass:[NSString class]] || [value isKindOfClass:[NSNumber class]];
  return isEither ? valueOf(value) : std::nullopt;
}

// Reads the keys as they are in the file, not localized.
std::shared_ptr<const Bundle> informationOf(NSBundle* bundle) {
  if (!bundle) return nullptr;
  NSDictionary* const information = [bundle infoDictionary];
  auto read = std::make_shared<Bundle>();
  read->bundleIdentifier = optionalTextOf([bundle bundleIdentifier]);
  if (read->bundleIdentifier == "") read->bundleIdentifier.reset();
  read->bundleName = optionalTextOf([information objectForKey:@"CFBundleName"]);
  read->shortVersionString = textOrNumberFor(kKQBundleShortVersionStringKey, information);
  read->bundleVersion = textOrNumberFor(@"CFBundleVersion", information);
  return read;
}

}  // namespace

std::shared_ptr<const Bundle> FoundationBundles::threadSafeBundleWithPath(std::string_view path) {
  const AutoreleasePool pool;
  return informationOf([NSBundle threadSafeBundleWithPath:foundationText(path)]);
}

void FoundationBundles::flushBundleCachesForPath([[maybe_unused]] std::string_view path) {
#ifdef __APPLE__
  if (_CFBundleFlushBundleCaches == nullptr) return;
  const AutoreleasePool pool;
  NSURL* const url = [NSURL fileURLWithPath:foundationText(path)];
  CFBundleRef const bundle = CFBundleCreate(kCFAllocatorDefault, (CFURLRef)url);
  if (bundle == nullptr) return;
  _CFBundleFlushBundleCaches(bundle);
  CFRelease(bundle);
#endif
}

std::shared_ptr<const Bundle> FoundationBundles::threadSafeMainBundle() {
  const AutoreleasePool pool;
  return informationOf([NSBundle threadSafeMainBundle]);
}

std::optional<std::string> FoundationBundles::pathForPluginResource(std::string_view name) {
  const AutoreleasePool pool;
  NSBundle* const bundle = [NSBundle threadSafeBundleForClass:agentClass_];
  return optionalTextOf([bundle pathForResource:foundationText(name) ofType:nil]);
}

}  // namespace revwarden
