#pragma once

// The keys of an item record, which describes one installed application in the catalogue. Names and
// texts are part of the interface to the host's user interface and to storage, so their
// irregularities ("resourcePath", kKQRWIsInBlackList) stay.
namespace revwarden {

/// Text: the identity of the record, a UUID that never changes.
inline constexpr char kKQRWIDKey[] = "id";
/// Text: full path of the application bundle.
inline constexpr char kKQRWApplicationPathKey[] = "applicationPath";
/// Text: the name of the bundle, else its file name without extension.
inline constexpr char kKQRWApplicationNameKey[] = "applicationName";
/// Text: the bundle identifier; "" if there is none.
inline constexpr char kKQRWBundleIdKey[] = "bundleId";
/// Text: the installed version.
inline constexpr char kKQRWCurrentVersionKey[] = "currentVersion";
/// Flag: the user starred the application.
inline constexpr char kKQRWIsFavouriteKey[] = "isFavourite";
/// Flag: the user wants no notices about the application.
inline constexpr char kKQRWIsInBlackList[] = "isInBlackList";
/// Dictionary: the update service's answer (catalogue/version_info_keys.h).
inline constexpr char kKQRWAvailableVersionInfoKey[] = "availableVersionInfo";
/// Date: the last check that should have answered for the application and did not.
inline constexpr char kKQRWLastFullCheckDate[] = "lastFullCheckDate";
/// Text: the last available version that was announced to the user, or that counts as announced.
inline constexpr char kKQRWNotifiedVersionKey[] = "notifiedVersion";

/// Flag: the record has a job in the install queue. Never saved.
inline constexpr char kKQRWInstallerIsInQueueKey[] = "isInQueue";
/// 64-bit integer: size of the download in bytes; -1 if it is unknown.
inline constexpr char kKQRWInstallerTotalBytesKey[] = "totalBytes";
/// 64-bit integer: bytes received so far.
inline constexpr char kKQRWInstallerReceivedBytesKey[] = "receivedBytes";
/// 64-bit integer: the step of the job (`SimpleAction` in job_action.h). Never saved.
inline constexpr char kKQRWInstallerCurrentActionKey[] = "currentAction";
/// Text: path of the downloaded file. Never saved.
inline constexpr char kKQRWInstallerDownloadPathKey[] = "downloadPath";
/// Text: path of the files to install: unpacked, mounted, or the download itself. Never saved.
inline constexpr char kKQRWInstallerResourcesPathKey[] = "resourcePath";

/// Text: a key, and a value for it, that only the host's user interface uses.
inline constexpr char kKQRWItemStatusKey[] = "applicationStatus";
inline constexpr char kKQRWItemUpToDateKey[] = "upToDate";

}  // namespace revwarden
