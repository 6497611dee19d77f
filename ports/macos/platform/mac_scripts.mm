#import "ports/macos/platform/mac_scripts.h"

#import <Foundation/Foundation.h>

#import "ports/macos/platform/foundation_values.h"
#import "ports/macos/platform/retained.h"

#ifdef GNUSTEP
// GNUstep's class can do nothing; the process may bring what it lacks.
@interface NSAppleScript (Source)
- (id)initWithSource:(NSString*)source;
- (NSAppleEventDescriptor*)executeAndReturnError:(NSDictionary**)errorInfo;
@end
#endif

namespace revwarden {

Result<> MacScripts::executeSource(std::string_view source) {
  const AutoreleasePool pool;
  NSAppleScript* const script =
      [[[NSAppleScript alloc] initWithSource:foundationText(source)] autorelease];
  if (!script) return Error{"", "The script cannot be made"};
  NSDictionary* error = nil;
  [script executeAndReturnError:&error];
  if (!error) return kSuccess;
  return Error{"", textOf([error description])};
}

}  // namespace revwarden
