#import "ports/macos/platform/call_object.h"

#include <utility>

using Function = std::function<void()>;

@interface KQRWCall ()
- (id)initWithFunction:(void*)taken;
@end

@implementation KQRWCall

- (id)initWithFunction:(void*)taken {
  if ((self = [super init])) function = taken;
  return self;
}

- (void)dealloc {
  delete static_cast<Function*>(function);
  [super dealloc];
}

- (void)run:(id)sender {
  [self retain];
  (*static_cast<Function*>(function))();
  [self release];
}

@end

namespace revwarden {

KQRWCall* callObject(std::function<void()> function) {
  return [[[KQRWCall alloc] initWithFunction:new Function(std::move(function))] autorelease];
}

}  // namespace revwarden
