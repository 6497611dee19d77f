#import "ports/macos/platform/exception_guard.h"

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

BOOL KQRWDetachThread(SEL selector, id target) {
  @try {
    [NSThread detachNewThreadSelector:selector toTarget:target withObject:nil];
    return YES;
  } @catch (NSException* failure) {
    return NO;
  }
}

id KQRWPropertyListFromData(NSData* data) {
  @try {
    return [NSPropertyListSerialization propertyListWithData:data
                                                     options:NSPropertyListImmutable
                                                      format:NULL
                                                       error:NULL];
  } @catch (NSException* failure) {
    return nil;
  }
}
