#pragma once

#import <Foundation/Foundation.h>

#include <stdint.h>

// What the agent uses of SharedUtils, the product's shared library: declarations only. The process
// that loads the plug-in provides the library. Any thread unless a declaration says otherwise.
// Paths are absolute.

#ifdef __cplusplus
extern "C" {
#endif

/// The name of the product, for people.
extern NSString* const kKQProductName;
/// The key of the short version string in a bundle's information.
extern NSString* const kKQBundleShortVersionStringKey;

/// Writes a line to the product's log.
extern void KQLog(NSString* format, ...);

/// Returns the localized text for `key`, the English text, from the bundle of the object's class.
extern NSString* _KQLocalizedString(id object, NSString* key);
/// The same for a format. The placeholder "%?1$u" selects the grammatical number.
extern NSString* _KQLocalizedNumberStringWithFormat(id object, NSString* format, ...);

#ifdef __cplusplus
}
#endif

/// Forwards every message to an object that it does not retain.
@interface KQWeakProxy : NSProxy
- (id)initWithObject:(id)object;
@end

/// Facts about the machine and its applications.
@interface KQSystemInformation : NSObject
/// Returns the paths of all installed applications.
+ (NSSet*)allApplicationsPaths;
/// nil if it is unknown.
+ (NSString*)computerSerialNumber;
+ (NSString*)systemVersionString;
+ (BOOL)isPowerPC;
+ (BOOL)is64BitCapable;
@end

/// Facts about the product.
@interface KQProductInformation : NSObject
/// Returns the address of `path` on the host of a service.
+ (NSURL*)URLWithScheme:(NSString*)scheme service:(NSString*)service path:(NSString*)path;
@end

/// A version of an application. Immutable.
@interface KQVersion : NSObject
/// Returns the version for a string or a number; nil if the value is not one.
+ (KQVersion*)versionWithValue:(id)value;
/// Returns the version that describes the application best. Either argument may be nil; nil if
/// neither is usable.
+ (KQVersion*)betterVersionOfShort:(KQVersion*)shortVersion andFull:(KQVersion*)fullVersion;
- (NSComparisonResult)compare:(KQVersion*)other;
- (NSString*)stringRepresentation;
@end

/// A privileged helper. Each operation returns nil on success, otherwise an error object.
@interface KQHelperTask : NSObject
- (id)moveItemAtPathToTrash:(NSString*)path;
- (id)performCopyItemAtPath:(NSString*)source toPath:(NSString*)destination;
/// Runs a named action, such as "runScript". All arguments are strings.
- (id)performAction:(NSString*)action withArguments:(NSDictionary*)arguments;
/// Ends the helper.
- (void)stop;
@end

/// Starts privileged helpers.
@interface KQHelperManager : NSObject
+ (KQHelperManager*)sharedManager;
/// Asks the user for administrator rights. Returns nil if they are not granted. Main thread.
- (KQHelperTask*)rootTaskWithPrompt:(NSString*)prompt;
@end

@interface NSBundle (KQSharedUtils)
/// Returns a bundle that this thread may use; nil if the path is not a readable bundle.
+ (NSBundle*)threadSafeBundleWithPath:(NSString*)path;
/// Returns the bundle that contains the class.
+ (NSBundle*)threadSafeBundleForClass:(Class)aClass;
/// Returns the bundle of the process.
+ (NSBundle*)threadSafeMainBundle;
@end

@interface NSFileManager (KQSharedUtils)
- (BOOL)isPathOnStorageDevice:(NSString*)path;
- (BOOL)isFileWithPathInTrash:(NSString*)path;
- (BOOL)pathIsContentOfPackage:(NSString*)path;
- (BOOL)pathIsOnSystemVolume:(NSString*)path;
/// Returns the path relative to the root of its volume, with a leading "/".
- (NSString*)localVolumePathFromFullPath:(NSString*)path;
/// Returns YES if the user may move the file.
- (BOOL)isMovableFileAtPath:(NSString*)path;
- (BOOL)moveItemAtPathToTrash:(NSString*)path;
@end
