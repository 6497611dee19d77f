// A stand-in for the product's shared library. It works in the scratch folder of the test and
// reports calls as events.
#import "ports/macos/platform/shared_utils.h"

#import <AppKit/AppKit.h>
#import <objc/runtime.h>
#include <unistd.h>

#import "tests/macos/test_world.h"

NSString* const kKQProductName = @"Pellmark";
NSString* const kKQBundleShortVersionStringKey = @"CFBundleShortVersionString";

static NSString* environment(NSString* name) {
  return [[[NSProcessInfo processInfo] environment] objectForKey:name];
}

NSString* worldPath(NSString* name) {
  return [environment(@"WORLD") stringByAppendingPathComponent:name];
}

void KQLog(NSString* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  sendEvent(@"KQLog", [[[NSString alloc] initWithFormat:format arguments:arguments] autorelease]);
  va_end(arguments);
}

NSString* _KQLocalizedString(id object, NSString* key) {
  return key;
}

NSString* _KQLocalizedNumberStringWithFormat(id object, NSString* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  const unsigned count = va_arg(arguments, unsigned);
  NSString* const text =
      [NSString stringWithFormat:@"%@ [%u, %@]", format, count, va_arg(arguments, id)];
  va_end(arguments);
  return text;
}

// The declared classes have no instance variables, so each object has room for one behind its end.
static id allocate(Class kind) {
  return NSAllocateObject(kind, sizeof(id), NULL);
}

static id* held(id object) {
  return object_getIndexedIvars(object);
}

@implementation KQWeakProxy
+ (id)alloc {
  return allocate(self);
}
- (id)initWithObject:(id)object {
  *held(self) = object;
  return self;
}
- (NSMethodSignature*)methodSignatureForSelector:(SEL)selector {
  return [*held(self) methodSignatureForSelector:selector];
}
- (void)forwardInvocation:(NSInvocation*)invocation {
  [invocation invokeWithTarget:*held(self)];
}
@end

@implementation KQVersion
+ (KQVersion*)versionWithValue:(id)value {
  if (!value) return nil;
  KQVersion* const version = [allocate(self) autorelease];
  *held(version) = [[value description] copy];
  return version;
}
+ (KQVersion*)betterVersionOfShort:(KQVersion*)shortVersion andFull:(KQVersion*)fullVersion {
  return shortVersion ? shortVersion : fullVersion;
}
- (void)dealloc {
  [*held(self) release];
  [super dealloc];
}
- (NSComparisonResult)compare:(KQVersion*)other {
  return [*held(self) compare:*held(other) options:NSNumericSearch];
}
- (NSString*)stringRepresentation {
  return *held(self);
}
@end

@implementation KQSystemInformation
+ (NSSet*)allApplicationsPaths {
  NSArray* const names =
      [[NSFileManager defaultManager] directoryContentsAtPath:worldPath(@"apps")];
  return [NSSet setWithArray:[worldPath(@"apps") stringsByAppendingPaths:names]];
}
+ (NSString*)computerSerialNumber {
  return nil;
}
+ (NSString*)systemVersionString {
  return @"10.9";
}
+ (BOOL)isPowerPC {
  return NO;
}
+ (BOOL)is64BitCapable {
  return YES;
}
@end

@implementation KQProductInformation
+ (NSURL*)URLWithScheme:(NSString*)scheme service:(NSString*)service path:(NSString*)path {
  NSString* const host = environment(service);
  return [NSURL URLWithString:[NSString stringWithFormat:@"%@://%@%@", scheme, host, path]];
}
@end

@implementation KQHelperManager
+ (KQHelperManager*)sharedManager {
  return [[[self alloc] init] autorelease];
}
- (KQHelperTask*)rootTaskWithPrompt:(NSString*)prompt {
  sendEvent(@"rootTaskWithPrompt:", prompt);
  return [[[KQHelperTask alloc] init] autorelease];
}
@end

@implementation KQHelperTask
- (id)moveItemAtPathToTrash:(NSString*)path {
  sendEvent(@"root moveItemAtPathToTrash:", path);
  return [[NSFileManager defaultManager] moveItemAtPathToTrash:path] ? nil : @"cannot be moved";
}
- (id)performCopyItemAtPath:(NSString*)source toPath:(NSString*)destination {
  NSFileManager* const files = [NSFileManager defaultManager];
  sendEvent(@"root performCopyItemAtPath:toPath:", destination);
  while ([files fileExistsAtPath:worldPath(@"hold")]) usleep(1000);
  return [files copyPath:source toPath:destination handler:nil] ? nil : @"cannot be copied";
}
- (id)performAction:(NSString*)action withArguments:(NSDictionary*)arguments {
  sendEvent([@"root " stringByAppendingString:action], arguments);
  return nil;
}
- (void)stop {
  sendEvent(@"root stop", nil);
}
@end

// Acts as a bundle in the layout of a Mac, which GNUstep's NSBundle cannot read.
@implementation NSDictionary (MacBundle)
- (NSDictionary*)infoDictionary {
  return self;
}
- (NSString*)bundleIdentifier {
  return [self objectForKey:@"CFBundleIdentifier"];
}
@end

@implementation NSBundle (KQSharedUtils)
+ (NSBundle*)threadSafeBundleWithPath:(NSString*)path {
  NSString* const list = [path stringByAppendingPathComponent:@"Contents/Info.plist"];
  return (NSBundle*)[NSDictionary dictionaryWithContentsOfFile:list];
}
+ (NSBundle*)threadSafeBundleForClass:(Class)aClass {
  return [NSBundle bundleForClass:aClass];
}
+ (NSBundle*)threadSafeMainBundle {
  return [NSBundle mainBundle];
}
@end

@implementation NSFileManager (KQSharedUtils)
- (BOOL)isPathOnStorageDevice:(NSString*)path {
  return YES;
}
- (BOOL)isFileWithPathInTrash:(NSString*)path {
  return NO;
}
- (BOOL)pathIsContentOfPackage:(NSString*)path {
  return NO;
}
- (BOOL)pathIsOnSystemVolume:(NSString*)path {
  return YES;
}
- (NSString*)localVolumePathFromFullPath:(NSString*)path {
  return path;
}
- (BOOL)isMovableFileAtPath:(NSString*)path {
  return ![[path lastPathComponent] hasPrefix:@"Locked"];
}
- (BOOL)moveItemAtPathToTrash:(NSString*)path {
  NSString* const name = [@"trash" stringByAppendingPathComponent:[path lastPathComponent]];
  return [self movePath:path toPath:worldPath(name) handler:nil];
}
@end

// Replaces methods that do nothing without a display.
#ifdef __clang__
#pragma clang diagnostic ignored "-Wobjc-protocol-method-implementation"
#endif
@implementation NSWorkspace (Test)
- (BOOL)openURL:(NSURL*)url {
  sendEvent(@"openURL:", [url absoluteString]);
  return YES;
}
- (NSArray*)launchedApplications {
  return [NSArray arrayWithObject:[NSDictionary dictionaryWithObject:worldPath(@"apps/Pellmark.app")
                                                              forKey:@"NSApplicationPath"]];
}
@end

@implementation NSAppleScript (Test)
- (id)initWithSource:(NSString*)source {
  sendEvent(@"script", source);
  return self;
}
- (id)executeAndReturnError:(NSDictionary**)error {
  return self;
}
@end
