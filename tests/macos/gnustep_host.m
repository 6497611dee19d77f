// An agent application for tests, with a scratch home. It loads the plug-in, calls the methods that
// the test requests on standard input, and reports results and events on standard output. Each
// message is a property list, preceded by its length in bytes and a line break.
#import <AppKit/AppKit.h>
#import <objc/runtime.h>
#include <stdio.h>

#import "ports/macos/face/kqrw_agent.h"
#import "ports/macos/platform/host_agent_application.h"
#import "tests/macos/test_world.h"

static void sendMessage(NSDictionary* message) {
  NSData* const list =
      [NSPropertyListSerialization dataFromPropertyList:message
                                                 format:NSPropertyListXMLFormat_v1_0
                                       errorDescription:NULL];
  flockfile(stdout);
  printf("%lu\n", (unsigned long)[list length]);
  fwrite([list bytes], 1, [list length], stdout);
  fflush(stdout);
  funlockfile(stdout);
}

// Returns strings and collections as they are, and the class name of any other object.
static id plain(id object) {
  const BOOL isPlain = [object respondsToSelector:@selector(writeToFile:atomically:)];
  return isPlain ? object : NSStringFromClass([object class]);
}

void sendEvent(NSString* event, id subject) {
  NSArray* const subjects = [NSArray arrayWithObjects:plain(subject), nil];
  NSNumber* const isMain = [NSNumber numberWithBool:[NSThread isMainThread]];
  sendMessage([NSDictionary
      dictionaryWithObjectsAndKeys:event, @"method", subjects, @"params", isMain, @"main", nil]);
}

/// Implements every method of a protocol without a result. Stores the last argument of each call in
/// `fields`. With a prefix, also reports the call as an event; without one, it is a notice.
@interface Recorder : NSObject {
 @public
  Protocol* protocol;
  NSString* prefix;
  NSMutableDictionary* fields;
  id target;  // not retained
}
@end

static BOOL failsNextMessage;

static void raiseIfRequested(void) {
  const BOOL raises = failsNextMessage;
  failsNextMessage = NO;
  if (raises) [NSException raise:@"Unreachable" format:@"requested by the test"];
}

static id recorder(Protocol* protocol, NSString* prefix) {
  Recorder* const made = [[Recorder alloc] init];
  made->protocol = protocol;
  made->prefix = [prefix retain];
  made->fields = [[NSMutableDictionary alloc] init];
  return made;
}

@implementation Recorder
- (NSMethodSignature*)methodSignatureForSelector:(SEL)selector {
  const char* const types = protocol_getMethodDescription(protocol, selector, YES, YES).types;
  return types ? [NSMethodSignature signatureWithObjCTypes:types]
               : [super methodSignatureForSelector:selector];
}
- (void)forwardInvocation:(NSInvocation*)invocation {
  NSString* const selector = NSStringFromSelector([invocation selector]);
  raiseIfRequested();
  const NSInteger last = [[invocation methodSignature] numberOfArguments] - 1;
  union {
    id object;
    double number;
    SEL selector;
  } argument;
  [invocation getArgument:&argument atIndex:last];
  const char type = *[[invocation methodSignature] getArgumentTypeAtIndex:last];
  if (type == 'd') argument.object = [NSString stringWithFormat:@"%g", argument.number];
  if (type == ':') argument.object = NSStringFromSelector(argument.selector);
  if (prefix) sendEvent([prefix stringByAppendingString:selector], argument.object);
  if ([selector isEqual:@"setTarget:"]) target = argument.object;
  if (argument.object) [fields setObject:plain(argument.object) forKey:selector];
}
@end

/// Releases the agent during a request.
@interface ReleasingDelegate : NSObject
@end

@implementation ReleasingDelegate
- (oneway void)agentDidStartValidateItem:(KQRWAgent*)agent {
  [agent release];
}
@end

@interface Host : NSObject <KQHostAgentApplication> {
 @public
  KQRWAgent* agent;
  Recorder* shown;
}
@end

static BOOL isAsleep;

@implementation Host
- (id)delegate {
  return self;
}
- (id<KQHostNotification>)notificationInstance {
  return recorder(@protocol(KQHostNotification), nil);
}
- (void)showNotification:(id<KQHostNotification>)notification {
  shown = (Recorder*)notification;
  sendEvent(@"showNotification:", shown->fields);
}
- (NSString*)hostAppPath {
  return worldPath(@"apps/Pellmark.app");
}
- (void)activateHostApp {
  sendEvent(@"activateHostApp", nil);
}
- (id)hostAppProxyWithTargetId:(NSString*)targetId protocol:(Protocol*)protocol {
  raiseIfRequested();
  return recorder(protocol, [targetId stringByAppendingString:@" "]);
}
- (id)instanceWithClassName:(NSString*)name {
  return recorder(@protocol(KQUninstallerAgent), [name stringByAppendingString:@" "]);
}

// Requests of the test that are not methods of the agent.

- (void)pressButton1 {
  NSString* const action = [shown->fields objectForKey:@"setButton1Action:"];
  [shown->target performSelector:NSSelectorFromString(action)];
}
- (NSDictionary*)fieldsOfNotice {
  return shown->fields;
}
- (void)wake {
  isAsleep = NO;
  [[[NSWorkspace sharedWorkspace] notificationCenter]
      postNotificationName:NSWorkspaceDidWakeNotification
                    object:nil];
}
- (void)failNextMessage {
  failsNextMessage = YES;
}
- (void)makeOtherAgents {
  [[[[agent class] alloc] init] release];  // while its first pass runs
  KQRWAgent* const other = [[[agent class] alloc] init];
  NSDate* const soon = [NSDate dateWithTimeIntervalSinceNow:0.1];  // its thread also releases it
  while ([other updateIsInProgress] || [soon timeIntervalSinceNow] > 0) {
    [[NSRunLoop currentRunLoop] runMode:NSDefaultRunLoopMode beforeDate:soon];
  }
  [other setDelegate:(id<KQRWAgentDelegate>)[[ReleasingDelegate alloc] init]];
  [other startUpdateApplicationsList];
}
- (void)end {
  exit(0);
}

- (void)run:(NSDictionary*)message {
  const SEL selector = NSSelectorFromString([message objectForKey:@"method"]);
  id receiver = agent;
  if (![receiver respondsToSelector:selector]) receiver = self;
  if (![receiver respondsToSelector:selector]) receiver = shown->target;
  NSMethodSignature* const signature = [receiver methodSignatureForSelector:selector];
  NSInvocation* const invocation = [NSInvocation invocationWithMethodSignature:signature];
  [invocation setSelector:selector];
  for (NSUInteger i = 2; i < [signature numberOfArguments]; ++i) {
    id object = [[message objectForKey:@"params"] objectAtIndex:i - 2];
    BOOL flag = [object isEqual:[NSNumber numberWithBool:YES]];
    const BOOL isObject = *[signature getArgumentTypeAtIndex:i] == '@';
    [invocation setArgument:isObject ? (void*)&object : &flag atIndex:i];
  }
  sendMessage([NSDictionary dictionaryWithObject:@"" forKey:@"begun"]);
  [invocation invokeWithTarget:receiver];
  union {
    id object;
    int64_t number;
    BOOL flag;
  } result = {nil};
  const char type = *[signature methodReturnType];
  if (type != 'v') [invocation getReturnValue:&result];
  if (type == *@encode(BOOL)) result.object = [NSNumber numberWithBool:result.flag];
  if (type == *@encode(int64_t)) result.object = [NSNumber numberWithLongLong:result.number];
  sendMessage(
      [NSDictionary dictionaryWithObjectsAndKeys:@"", @"id", result.object, @"result", nil]);
}

- (void)readMessages:(id)unused {
  unsigned long length;
  while (scanf("%lu%*c", &length) == 1) {
    NSAutoreleasePool* const pool = [[NSAutoreleasePool alloc] init];
    NSMutableData* const data = [NSMutableData dataWithLength:length];
    const BOOL isWhole = fread([data mutableBytes], 1, length, stdin) == length;
    const id message = [NSPropertyListSerialization propertyListFromData:data
                                                        mutabilityOption:NSPropertyListImmutable
                                                                  format:NULL
                                                        errorDescription:NULL];
    [self performSelectorOnMainThread:@selector(run:)
                           withObject:isWhole ? message : nil
                        waitUntilDone:NO];
    [pool drain];
  }
  [self performSelectorOnMainThread:@selector(end) withObject:nil waitUntilDone:NO];
}
@end

// Simulates sleep: timers that are set while asleep never fire, and a wake does not move them.
@implementation NSRunLoop (Sleep)
- (void)addTimerUnlessAsleep:(NSTimer*)timer forMode:(NSString*)mode {
  if (isAsleep) [timer setFireDate:[NSDate distantFuture]];
  [self addTimerUnlessAsleep:timer
                     forMode:mode];  // the implementations are exchanged: this calls the original
}
@end

// The original starts a daemon, which is never stopped, and runs the main loop until it answers.
@implementation NSDistributedNotificationCenter (Local)
+ (id)defaultCenter {
  return [NSNotificationCenter defaultCenter];
}
@end

int main(int argc, char** argv) {
  [[NSAutoreleasePool alloc] init];
  isAsleep = argc > 2;
  method_exchangeImplementations(
      class_getInstanceMethod([NSRunLoop class], @selector(addTimer:forMode:)),
      class_getInstanceMethod([NSRunLoop class], @selector(addTimerUnlessAsleep:forMode:)));
  Host* const host = [[Host alloc] init];
  NSApp = (id)host;
  NSBundle* const bundle = [NSBundle bundleWithPath:[NSString stringWithUTF8String:argv[1]]];
  host->agent = [[[bundle principalClass] alloc] init];
  [host->agent setDelegate:recorder(@protocol(KQRWAgentDelegate), @"")];
  [NSThread detachNewThreadSelector:@selector(readMessages:) toTarget:host withObject:nil];
  [[NSRunLoop currentRunLoop] addPort:[NSPort port] forMode:NSDefaultRunLoopMode];
  [[NSRunLoop currentRunLoop] run];
}
