#pragma once

#import <Foundation/Foundation.h>

#import "ports/macos/face/kqrw_export.h"
#import "ports/macos/face/kqrw_protocols.h"

/// The principal class of the plug-in.
///
/// Creating an instance loads the settings and starts the first refresh of the catalogue; the host
/// keeps it for the life of the process, or lets it go on the main thread: a pass or a job that
/// runs then goes on to its end, and nobody hears of it. Requests come on the main thread unless an
/// operation says otherwise. Records (kqrw_constants.h) are immutable snapshots: changing a record
/// goes through the operations. An unknown id is no error.
KQRW_EXPORTED_CLASS
@interface KQRWAgent : NSObject {
 @private
  struct KQRWAgentCore* core;
  id delegate;
}

/// The proxy that stands for the delegate; nil before the first `setDelegate:`.
- (id<KQRWAgentDelegate>)delegate;
/// Events go to `object`, which is not retained: set another one, or nil, before it goes.
- (void)setDelegate:(id<KQRWAgentDelegate>)object;

// The catalogue. Reading it: any thread.

/// The records that hold an answer of the update service, in catalogue order.
- (NSArray*)items;
/// All records, in catalogue order.
- (NSArray*)itemsSnapshot;
/// nil when no record has this id.
- (NSDictionary*)itemSnapshotWithID:(NSString*)identifier;
/// Stars or unstars the record, saves and tells the delegate, also when nothing changed.
- (void)setStarred:(BOOL)starred forItemWithId:(NSString*)identifier;
/// Puts the records on the black list or takes them off, saves once and sends one event.
- (void)moveItemsWithIds:(NSArray*)identifiers toBlackList:(BOOL)listed;
- (BOOL)itemWithIdIsInBlackList:(NSString*)identifier;

// Background passes. A request that finds one running is dropped.

/// Forgets when records were last checked, refreshes the list and asks the service; an answer that
/// cannot be read is shown to the user.
- (void)startFullRescan;
/// Brings the catalogue in line with the disk and asks the service when anything is new.
- (void)startUpdateApplicationsList;
/// Reads the named applications again.
- (void)startUpdateInfoForItemsWithIDs:(NSArray*)identifiers;
/// Whether a pass is running. Any thread.
- (BOOL)updateIsInProgress;

// The install queue. It runs one update job at a time.

/// Queues an update of each of these applications. May ask the user for administrator rights, once,
/// and waits for the answer.
- (void)startUpdateItemWithIDs:(NSArray*)identifiers;
/// Takes the updates of these applications out of the queue. A running installation first ends the
/// step that it is at; meanwhile the main run loop is served here.
- (void)cancelUpdateItemWithIDs:(NSArray*)identifiers;
/// Queues the update of the host product, if it is in the catalogue.
- (void)startUpdatePellmark;
- (BOOL)installerQueueIsInProgress;
/// The number of jobs in the queue, the running one included.
- (int64_t)installerQueueCount;

// Settings. Setting a new value saves; an equal one does nothing. Getters: any thread.

/// Whether the user is told of new versions.
- (BOOL)showRevwardenNotifications;
- (void)setShowRevwardenNotifications:(BOOL)show;
/// Whether applications on other volumes than the system's are catalogued, from the next refresh.
- (BOOL)updatesApplicationsFromAllLocalVolumes;
- (void)setUpdatesApplicationsFromAllLocalVolumes:(BOOL)all;
/// When the last check ended; nil: the next is due now.
- (NSDate*)lastFireDate;
/// How many updates were installed, ever.
- (int64_t)totalUpdatesCount;

/// Has the host's user interface show the Revwarden window.
- (void)openRevwarden;

@end
