#pragma once

#import <Foundation/Foundation.h>

@class KQRWAgent;
@class KQRWAppUpdater;

/// Receives the events of the catalogue, of background passes and of the install queue. The host's
/// object that shows the Revwarden window has this protocol, too.
///
/// Main thread, except where a method says otherwise. Records (kqrw_constants.h) are immutable
/// snapshots.
@protocol KQRWAgentDelegate <NSObject>
/// A background pass changed at least one record, or a check merged an answer. A list refresh sends
/// it before `agentDidFinishValidateItem:`, a validation pass after it.
- (oneway void)itemsDidChangeInAgent:(KQRWAgent*)agent;
/// A list refresh or a validation pass starts. On the thread that requested it.
- (oneway void)agentDidStartValidateItem:(KQRWAgent*)agent;
/// A list refresh or a validation pass ended. The next check is already scheduled.
- (oneway void)agentDidFinishValidateItem:(KQRWAgent*)agent;
/// A list refresh ended. Follows `agentDidFinishValidateItem:` directly.
- (oneway void)agentDidFinishUpdatingApplicationList:(KQRWAgent*)agent;
/// Records were starred, moved to or from the black list, queued, or removed from the queue.
/// `items` may be empty. After a change of star or black list it arrives on its caller's
/// thread.
- (void)agent:(KQRWAgent*)agent didChangeStatusForItems:(NSArray*)items;
/// The install queue starts its first job.
- (void)didStartQueueInAgent:(KQRWAgent*)agent;
/// The install queue is empty: the last job ended, or a failed download emptied it.
- (void)didStopQueueInAgent:(KQRWAgent*)agent;
/// A job starts. `item` already has the new "currentAction", which is stored only afterwards.
- (void)agent:(KQRWAgent*)agent didStartUpdateItem:(NSDictionary*)item;
/// A job ended, successfully or not. `item` is the stored record. Not sent for the jobs in a queue
/// that a failed download emptied.
- (void)agent:(KQRWAgent*)agent didStopUpdateItem:(NSDictionary*)item;
/// The step or progress of a job changed. `item` has the new "currentAction", "totalBytes",
/// "receivedBytes", "downloadPath" and "resourcePath". May arrive after the end of the job.
- (void)agent:(KQRWAgent*)agent didChangeUpdatedStatusForItem:(NSDictionary*)item;
/// The user wants to see the available updates. Sent only to the host's object.
- (void)openRevwarden;
@end

/// Receives the events of one update job. Main thread. The agent's install queue implements it.
@protocol KQRWAppInstallerDelegate
/// `start` was called; the job has set its first step.
- (void)appInstallerDidStart:(KQRWAppUpdater*)appInstaller;
/// The job ended. Some jobs report their end twice.
- (void)appInstaller:(KQRWAppUpdater*)appInstaller didFinishSuccessfully:(BOOL)successfully;
/// The download failed and the whole queue is to be emptied. The job waits until this returns.
- (void)appInstallerFailedAndStoppedQueue:(KQRWAppUpdater*)appInstaller;
/// The step or progress changed. Read the current values from the job: they may be newer than this
/// event.
- (void)appInstallerDidUpdateStatus:(KQRWAppUpdater*)appInstaller;
@end
