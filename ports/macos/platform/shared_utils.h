#pragma once

#import <Foundation/Foundation.h>

#include <stdint.h>

// SharedUtils, the product's shared library, as far as the agent uses it: declarations only. The
// process that loads the plug-in brings the library. Any thread unless it says otherwise; paths are
// full paths.

#ifdef __cplusplus
extern "C" {
#endif

/// The name of the product, for people.
extern NSString* const kKQProductName;
/// The key of the short version string in a bundle's information.
extern NSString* const kKQBundleShortVersionStringKey;

/// Writes a line to the product's log of outcomes.
extern void KQLog(NSString* format, ...);

/// The text for `key`, which is the English one, from the bundle of the object's class.
extern NSString* _KQLocalizedString(id object, NSString* key);
/// The same for a format; the number placeholder "%?1$u" picks the grammatical form.
extern NSString* _KQLocalizedNumberStringWithFormat(id object, NSString* format, ...);

#ifdef __cplusplus
}
#endif

/// Passes every message on to an object that it does not retain.
@interface KQWeakProxy : NSProxy
- (id)initWithObject:(id)object;
@end

/// The installed applications and the facts of the machine.
@interface KQSystemInformation : NSObject
/// The paths of all applications that the system knows to be installed.
+ (NSSet*)allApplicationsPaths;
/// nil when it is unknown.
+ (NSString*)computerSerialNumber;
+ (NSString*)systemVersionString;
+ (BOOL)isPowerPC;
+ (BOOL)is64BitCapable;
@end

@interface KQProductInformation : NSObject
/// The address of a path on the host behind one of the maker's services.
+ (NSURL*)URLWithScheme:(NSString*)scheme service:(NSString*)service path:(NSString*)path;
@end

/// A version of an application. Immutable.
@interface KQVersion : NSObject
/// From a string or a number; nil for nil and for what is no version.
+ (KQVersion*)versionWithValue:(id)value;
/// The one that best represents what is installed; either may be nil. nil when neither is usable.
+ (KQVersion*)betterVersionOfShort:(KQVersion*)shortVersion andFull:(KQVersion*)fullVersion;
- (NSComparisonResult)compare:(KQVersion*)other;
- (NSString*)stringRepresentation;
@end

/// A privileged helper. Each operation answers nil on success, else an error object.
@interface KQHelperTask : NSObject
- (id)moveItemAtPathToTrash:(NSString*)path;
- (id)performCopyItemAtPath:(NSString*)source toPath:(NSString*)destination;
/// Runs a named action ("runScript") with arguments that are all strings.
- (id)performAction:(NSString*)action withArguments:(NSDictionary*)arguments;
/// Ends the helper.
- (void)stop;
@end

@interface KQHelperManager : NSObject
+ (KQHelperManager*)sharedManager;
/// Asks the user for administrator rights; nil when they cannot be had. Main thread.
- (KQHelperTask*)rootTaskWithPrompt:(NSString*)prompt;
@end

@interface NSBundle (KQSharedUtils)
/// A bundle that may be used on this thread; nil for a path that is no readable bundle.
+ (NSBundle*)threadSafeBundleWithPath:(NSString*)path;
/// The bundle that contains a class.
+ (NSBundle*)threadSafeBundleForClass:(Class)aClass;
/// The bundle of the process.
+ (NSBundle*)threadSafeMainBundle;
@end

@interface NSFileManager (KQSharedUtils)
- (BOOL)isPathOnStorageDevice:(NSString*)path;
- (BOOL)isFileWithPathInTrash:(NSString*)path;
- (BOOL)pathIsContentOfPackage:(NSString*)path;
- (BOOL)pathIsOnSystemVolume:(NSString*)path;
/// The path relative to the root of its volume, beginning with "/".
- (NSString*)localVolumePathFromFullPath:(NSString*)path;
/// Whether this user may move the file at the path away.
- (BOOL)isMovableFileAtPath:(NSString*)path;
- (BOOL)moveItemAtPathToTrash:(NSString*)path;
@end
