#pragma once

// The names that both sides of the control socket use. docs/socket.md says what they mean.
namespace revwarden {

/// The socket's methods. Those without "host." are the agent's operations, by selector.
namespace methods {
inline constexpr char kItems[] = "items";
inline constexpr char kItemsSnapshot[] = "itemsSnapshot";
inline constexpr char kItemSnapshotWithID[] = "itemSnapshotWithID:";
inline constexpr char kSetStarred[] = "setStarred:forItemWithId:";
inline constexpr char kMoveItemsToBlackList[] = "moveItemsWithIds:toBlackList:";
inline constexpr char kItemIsInBlackList[] = "itemWithIdIsInBlackList:";
inline constexpr char kStartFullRescan[] = "startFullRescan";
inline constexpr char kStartUpdateApplicationsList[] = "startUpdateApplicationsList";
inline constexpr char kStartUpdateInfo[] = "startUpdateInfoForItemsWithIDs:";
inline constexpr char kUpdateIsInProgress[] = "updateIsInProgress";
inline constexpr char kStartUpdateItems[] = "startUpdateItemWithIDs:";
inline constexpr char kCancelUpdateItems[] = "cancelUpdateItemWithIDs:";
inline constexpr char kStartUpdatePellmark[] = "startUpdatePellmark";
inline constexpr char kInstallerQueueIsInProgress[] = "installerQueueIsInProgress";
inline constexpr char kInstallerQueueCount[] = "installerQueueCount";
inline constexpr char kShowNotifications[] = "showRevwardenNotifications";
inline constexpr char kSetShowNotifications[] = "setShowRevwardenNotifications:";
inline constexpr char kUpdatesFromAllVolumes[] = "updatesApplicationsFromAllLocalVolumes";
inline constexpr char kSetUpdatesFromAllVolumes[] = "setUpdatesApplicationsFromAllLocalVolumes:";
inline constexpr char kTotalUpdatesCount[] = "totalUpdatesCount";
inline constexpr char kLastFireDate[] = "lastFireDate";

inline constexpr char kHostVersion[] = "host.version";
inline constexpr char kHostStatus[] = "host.status";
inline constexpr char kHostEvents[] = "host.events";
inline constexpr char kHostNotices[] = "host.notices";
inline constexpr char kHostAnswerNotification[] = "host.answerNotification";
inline constexpr char kHostSearchFolders[] = "host.searchFolders";
inline constexpr char kHostWake[] = "host.wake";
}  // namespace methods

/// The notifications that every client gets.
namespace events {
inline constexpr char kItemsDidChange[] = "itemsDidChangeInAgent:";
inline constexpr char kDidStartValidateItem[] = "agentDidStartValidateItem:";
inline constexpr char kDidFinishValidateItem[] = "agentDidFinishValidateItem:";
inline constexpr char kDidFinishUpdatingList[] = "agentDidFinishUpdatingApplicationList:";
inline constexpr char kDidChangeStatus[] = "agent:didChangeStatusForItems:";
inline constexpr char kDidStartQueue[] = "didStartQueueInAgent:";
inline constexpr char kDidStopQueue[] = "didStopQueueInAgent:";
inline constexpr char kDidStartUpdate[] = "agent:didStartUpdateItem:";
inline constexpr char kDidStopUpdate[] = "agent:didStopUpdateItem:";
inline constexpr char kDidChangeUpdate[] = "agent:didChangeUpdatedStatusForItem:";
inline constexpr char kOpenRevwarden[] = "openRevwarden";

inline constexpr char kJobEnded[] = "host.jobEnded";
inline constexpr char kCheckEnded[] = "host.checkEnded";
inline constexpr char kShowNotification[] = "showNotification:";
inline constexpr char kLog[] = "log";
inline constexpr char kUpdateService[] = "updateService";
inline constexpr char kRootTaskWithPrompt[] = "rootTaskWithPrompt:";
inline constexpr char kRootTask[] = "rootTask";
inline constexpr char kOpenURL[] = "openURL:";
inline constexpr char kSelectFile[] = "selectFile:inFileViewerRootedAtPath:";
inline constexpr char kActivateHostApp[] = "activateHostApp";
inline constexpr char kAddSilentRemove[] = "addSilentRemoveBundleID:";
}  // namespace events

/// Members and values of the outcomes in `host.jobEnded` and `host.checkEnded`.
namespace outcome {
inline constexpr char kOutcome[] = "outcome";
inline constexpr char kReason[] = "reason";
inline constexpr char kStarted[] = "started";
inline constexpr char kEnded[] = "ended";

inline constexpr char kId[] = "id";
inline constexpr char kName[] = "name";
inline constexpr char kPath[] = "path";
inline constexpr char kFrom[] = "from";
inline constexpr char kTo[] = "to";
inline constexpr char kCode[] = "code";
inline constexpr char kTrashed[] = "trashed";

inline constexpr char kUpdated[] = "updated";
inline constexpr char kPackageRun[] = "packageRun";
inline constexpr char kHandedOver[] = "handedOver";
inline constexpr char kFailed[] = "failed";
inline constexpr char kCancelled[] = "cancelled";
inline constexpr char kDropped[] = "dropped";
inline constexpr char kRefused[] = "refused";

inline constexpr char kAsked[] = "asked";
inline constexpr char kStatus[] = "status";
inline constexpr char kByUser[] = "byUser";
/// Both a member, a number of applications, and an outcome of a check.
inline constexpr char kAnswered[] = "answered";
inline constexpr char kUnreachable[] = "unreachable";
inline constexpr char kInvalid[] = "invalid";
inline constexpr char kNotNeeded[] = "notNeeded";
}  // namespace outcome

/// Members of the result of `host.status`.
namespace status {
inline constexpr char kLastCheck[] = "lastCheck";
inline constexpr char kLastAnswered[] = "lastAnswered";
inline constexpr char kUnsavedSince[] = "unsavedSince";
inline constexpr char kOpenJobs[] = "openJobs";
}  // namespace status

}  // namespace revwarden
