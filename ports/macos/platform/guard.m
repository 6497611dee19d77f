#import "ports/macos/platform/guard.h"

@interface KQRWGuard : NSProxy {
 @private
  id object;
}
- (id)initWithObject:(id)anObject;
@end

@implementation KQRWGuard

- (id)initWithObject:(id)anObject {
  object = [anObject retain];
  return self;
}

- (void)dealloc {
  [object release];
  [super dealloc];
}

- (NSMethodSignature*)methodSignatureForSelector:(SEL)selector {
  NSMethodSignature* signature = nil;
  @try {
    signature = [object methodSignatureForSelector:selector];
  } @catch (NSException* failure) {
    NSLog(@"No answer about %@: %@", NSStringFromSelector(selector), failure);
  }
  return signature ? signature : [NSMethodSignature signatureWithObjCTypes:"v@:"];
}

- (void)forwardInvocation:(NSInvocation*)invocation {
  @try {
    [invocation invokeWithTarget:object];
  } @catch (NSException* failure) {
    NSLog(@"%@ failed: %@", NSStringFromSelector([invocation selector]), failure);
    NSMutableData* const zero =
        [NSMutableData dataWithLength:[[invocation methodSignature] methodReturnLength]];
    if ([zero length] > 0) [invocation setReturnValue:[zero mutableBytes]];
  }
}

@end

id KQRWGuarded(id object) {
  return object ? [[[KQRWGuard alloc] initWithObject:object] autorelease] : nil;
}
