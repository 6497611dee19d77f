#pragma once

#import <Foundation/Foundation.h>

#import "ports/macos/face/kqrw_export.h"

/// An update job, as its delegate and the target of its notices. Only the agent creates one. Any
/// thread. Returns nil and 0 once the job is gone.
KQRW_EXPORTED_CLASS
@interface KQRWAppUpdater : NSObject {
 @private
  struct KQRWAppUpdaterCore* core;
}

/// Returns the id of the application's record.
- (NSString*)originalAppItemID;
/// Returns the step: 0 idle, 1 starting, 2 downloading, 3 installing, 4 done, 5 failed or
/// cancelled.
- (int64_t)simpleCurrentAction;
/// Returns the step in detail, 0 to 12 (catalogue/job_action.h).
- (int64_t)currentAction;
/// Returns the expected length of the download in bytes: 0 before the response, -1 if it is
/// unknown.
- (int64_t)totalBytes;
/// Returns the bytes received so far.
- (int64_t)receivedBytes;
/// Returns the path of the downloaded file; nil if there is none.
- (NSString*)downloadPath;
/// Returns the folder with the files to install; nil if there is none.
- (NSString*)resourcesPath;

@end

/// The update job of the host product.
KQRW_EXPORTED_CLASS
@interface KQRWPellmarkUpdater : KQRWAppUpdater
/// Quits the product and launches it again. Returns at once.
- (void)relaunchPellmark;
@end
