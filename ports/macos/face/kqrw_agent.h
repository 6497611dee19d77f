#pragma once

#import <Foundation/Foundation.h>

#import "ports/macos/face/kqrw_export.h"
#import "ports/macos/face/kqrw_protocols.h"

/// The principal class of the plug-in.
///
/// `init` loads the settings and starts the first refresh of the catalogue. Release the object on
/// the main thread; a running pass or job then continues to its end without sending events. Call
/// every method on the main thread unless it says otherwise. Records (kqrw_constants.h) are
/// immutable snapshots. An unknown id is ignored.
KQRW_EXPORTED_CLASS
@interface KQRWAgent : NSObject {
 @private
  struct KQRWAgentCore* core;
  id delegate;
}

/// Returns a proxy of the delegate; nil before the first `setDelegate:`.
- (id<KQRWAgentDelegate>)delegate;
/// Sends events to `object` from now on. It is not retained: set nil before you release it.
- (void)setDelegate:(id<KQRWAgentDelegate>)object;

// The catalogue. Methods that only read it: any thread.

/// Returns the records with an answer of the update service, in catalogue order.
- (NSArray*)items;
/// Returns all records, in catalogue order.
- (NSArray*)itemsSnapshot;
/// Returns the record with this id, nil if there is none.
- (NSDictionary*)itemSnapshotWithID:(NSString*)identifier;
/// Stars or unstars the record, saves and notifies the delegate, even if nothing changed.
- (void)setStarred:(BOOL)starred forItemWithId:(NSString*)identifier;
/// Adds the records to the black list or removes them from it, saves once and sends one event.
- (void)moveItemsWithIds:(NSArray*)identifiers toBlackList:(BOOL)listed;
/// Returns NO for an unknown id.
- (BOOL)itemWithIdIsInBlackList:(NSString*)identifier;

// Background passes. A request is ignored while a pass is running.

/// Clears the dates of the last check, refreshes the list and asks the service. Shows the user a
/// notice if the answer is invalid.
- (void)startFullRescan;
/// Brings the catalogue in line with the disk, and asks the service if anything is new.
- (void)startUpdateApplicationsList;
/// Reads these applications again.
- (void)startUpdateInfoForItemsWithIDs:(NSArray*)identifiers;
/// Returns YES while a pass is running. Any thread.
- (BOOL)updateIsInProgress;

// The install queue. It runs one update job at a time.

/// Queues an update of each application. Asks the user for administrator rights, at most once, if
/// they are needed, and waits for the answer.
- (void)startUpdateItemWithIDs:(NSArray*)identifiers;
/// Removes the updates of these applications from the queue. A running installation first finishes
/// its current step; until then this method runs the main run loop.
- (void)cancelUpdateItemWithIDs:(NSArray*)identifiers;
/// Queues the update of the host product, if it is in the catalogue.
- (void)startUpdatePellmark;
/// Returns YES while the queue has a job.
- (BOOL)installerQueueIsInProgress;
/// Returns the number of jobs in the queue, including the running one.
- (int64_t)installerQueueCount;

// Settings. A setter saves if the value differs. Getters: any thread.

/// Whether the user is notified of new versions.
- (BOOL)showRevwardenNotifications;
- (void)setShowRevwardenNotifications:(BOOL)show;
/// Whether the catalogue includes applications on other volumes than the system's. A change takes
/// effect with the next refresh.
- (BOOL)updatesApplicationsFromAllLocalVolumes;
- (void)setUpdatesApplicationsFromAllLocalVolumes:(BOOL)all;
/// Returns when the last check ended; nil if the next one is due now.
- (NSDate*)lastFireDate;
/// Returns how many updates have been installed in total.
- (int64_t)totalUpdatesCount;

/// Asks the host's user interface to show the Revwarden window.
- (void)openRevwarden;

@end
