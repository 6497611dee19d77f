#pragma once

#import <Foundation/Foundation.h>

@class KQRWAgent;
@class KQRWAppUpdater;

/// Hears what happens to the catalogue, to background passes and to the install queue; also the
/// interface of the host's object that shows the Revwarden window.
///
/// Events arrive on the main thread, except that `agentDidStartValidateItem:` comes on the thread
/// that starts a pass, and the event of a star or of the black list on its caller's. Records
/// (kqrw_constants.h) are immutable snapshots.
@protocol KQRWAgentDelegate <NSObject>
- (oneway void)itemsDidChangeInAgent:(KQRWAgent*)agent;
- (oneway void)agentDidStartValidateItem:(KQRWAgent*)agent;
- (oneway void)agentDidFinishValidateItem:(KQRWAgent*)agent;
- (oneway void)agentDidFinishUpdatingApplicationList:(KQRWAgent*)agent;
- (void)agent:(KQRWAgent*)agent didChangeStatusForItems:(NSArray*)items;
- (void)didStartQueueInAgent:(KQRWAgent*)agent;
- (void)didStopQueueInAgent:(KQRWAgent*)agent;
- (void)agent:(KQRWAgent*)agent didStartUpdateItem:(NSDictionary*)item;
- (void)agent:(KQRWAgent*)agent didStopUpdateItem:(NSDictionary*)item;
- (void)agent:(KQRWAgent*)agent didChangeUpdatedStatusForItem:(NSDictionary*)item;
- (void)openRevwarden;
@end

/// Hears of the events of one update job. Main thread. Inside the agent its install queue does.
@protocol KQRWAppInstallerDelegate
- (void)appInstallerDidStart:(KQRWAppUpdater*)appInstaller;
- (void)appInstaller:(KQRWAppUpdater*)appInstaller didFinishSuccessfully:(BOOL)successfully;
- (void)appInstallerFailedAndStoppedQueue:(KQRWAppUpdater*)appInstaller;
- (void)appInstallerDidUpdateStatus:(KQRWAppUpdater*)appInstaller;
@end
