#import "ports/macos/platform/detach_thread.h"

// By itself in a file of Objective-C: no exception may pass through C++.
BOOL KQRWDetachThread(SEL selector, id target) {
  @try {
    [NSThread detachNewThreadSelector:selector toTarget:target withObject:nil];
    return YES;
  } @catch (NSException* failure) {
    return NO;
  }
}
