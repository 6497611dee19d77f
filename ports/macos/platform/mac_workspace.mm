#import "ports/macos/platform/mac_workspace.h"

#import <AppKit/AppKit.h>

#import "ports/macos/platform/call_object.h"
#import "ports/macos/platform/foundation_values.h"
#include "ports/macos/platform/full_path.h"
#import "ports/macos/platform/retained.h"

#ifdef GNUSTEP
// GNUstep's class lacks these methods; the test host provides them.
@interface NSAppleScript (Source)
- (id)initWithSource:(NSString*)source;
- (NSAppleEventDescriptor*)executeAndReturnError:(NSDictionary**)errorInfo;
@end
#endif

namespace revwarden {
namespace {

// Retains the call, because a notification centre does not retain its observers.
class WakeObservation final : public Observation {
 public:
  explicit WakeObservation(KQRWCall* call) : call_(call) {
    [center() addObserver:call
                 selector:@selector(run:)
                     name:NSWorkspaceDidWakeNotification
                   object:nil];
  }
  ~WakeObservation() override {
    const AutoreleasePool pool;
    [center() removeObserver:call_.get()];
  }

 private:
  static NSNotificationCenter* center() {
    return [[NSWorkspace sharedWorkspace] notificationCenter];
  }

  const Retained call_;
};

}  // namespace

bool MacWorkspace::openURL(std::string_view url) {
  const AutoreleasePool pool;
  NSURL* const address = [NSURL URLWithString:foundationText(url)];
  return address && [[NSWorkspace sharedWorkspace] openURL:address];
}

// NSWorkspace returns immediately.
void MacWorkspace::openURL_whenOpened(std::string_view url, std::function<void(bool)> opened) {
  opened(openURL(url));
}

bool MacWorkspace::selectFile_inFileViewerRootedAtPath(std::string_view path,
                                                       std::string_view root) {
  const AutoreleasePool pool;
  return [[NSWorkspace sharedWorkspace] selectFile:foundationText(path)
                          inFileViewerRootedAtPath:foundationText(root)];
}

std::vector<std::string> MacWorkspace::launchedApplicationPaths() {
  const AutoreleasePool pool;
  std::vector<std::string> paths = textsOf(
      [[[NSWorkspace sharedWorkspace] launchedApplications] valueForKey:@"NSApplicationPath"]);
  for (std::string& path : paths) path = resolvedPath(path).value_or(path);
  return paths;
}

std::unique_ptr<Observation> MacWorkspace::observeDidWake(std::function<void()> handler) {
  const AutoreleasePool pool;
  return std::make_unique<WakeObservation>(callObject(std::move(handler)));
}

Result<> MacScripts::executeSource(std::string_view source) {
  const AutoreleasePool pool;
  NSAppleScript* const script =
      [[[NSAppleScript alloc] initWithSource:foundationText(source)] autorelease];
  if (!script) return Error{"", "cannot create the script"};
  NSDictionary* error = nil;
  [script executeAndReturnError:&error];
  if (!error) return kSuccess;
  return Error{"", textOf([error description])};
}

}  // namespace revwarden
