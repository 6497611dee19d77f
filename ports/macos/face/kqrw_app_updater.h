#pragma once

#import <Foundation/Foundation.h>

#import "ports/macos/face/kqrw_export.h"

/// An update job as its delegate and the notices about it see it. Made by the agent. Any thread.
/// A job that is over and forgotten answers nil and 0.
KQRW_EXPORTED_CLASS
@interface KQRWAppUpdater : NSObject {
 @private
  struct KQRWAppUpdaterCore* core;
}

/// The id of the record that the job was made for.
- (NSString*)originalAppItemID;
/// 0 idle, 1 starting, 2 downloading, 3 installing, 4 done, 5 failed or cancelled.
- (int64_t)simpleCurrentAction;
/// The same in detail, 0 to 12.
- (int64_t)currentAction;
/// Expected length of the download in bytes: 0 before the response, -1 when it is unknown.
- (int64_t)totalBytes;
- (int64_t)receivedBytes;
/// The downloaded file, and where the installation takes its files from; nil without one.
- (NSString*)downloadPath;
- (NSString*)resourcesPath;

@end

/// The update job of the host product.
KQRW_EXPORTED_CLASS
@interface KQRWPellmarkUpdater : KQRWAppUpdater
/// Has the product quit and launches it again. Returns at once.
- (void)relaunchPellmark;
@end
