#pragma once

// Keys of an item record: what the catalogue knows of one installed application. The names and
// texts are part of the interface to the host's user interface and to storage.
namespace revwarden {

/// Text: the record's identity, a UUID made once.
inline constexpr char kKQRWIDKey[] = "id";
/// Text: full path of the application bundle.
inline constexpr char kKQRWApplicationPathKey[] = "applicationPath";
/// Text: the bundle's name, else its file name without the extension.
inline constexpr char kKQRWApplicationNameKey[] = "applicationName";
/// Text: the bundle identifier, "" without one.
inline constexpr char kKQRWBundleIdKey[] = "bundleId";
/// Text: the installed version.
inline constexpr char kKQRWCurrentVersionKey[] = "currentVersion";
/// Flag: the user starred the application.
inline constexpr char kKQRWIsFavouriteKey[] = "isFavourite";
/// Flag: the user wants no notices about the application.
inline constexpr char kKQRWIsInBlackList[] = "isInBlackList";
/// Dictionary: the update service's answer (catalogue/version_info_keys.h).
inline constexpr char kKQRWAvailableVersionInfoKey[] = "availableVersionInfo";
/// Date: the last check in which the application had to be answered and was not.
inline constexpr char kKQRWLastFullCheckDate[] = "lastFullCheckDate";
/// Text: the available version that the user was last told of.
inline constexpr char kKQRWNotifiedVersionKey[] = "notifiedVersion";

/// Flag: the record has a job in the install queue. Never stored.
inline constexpr char kKQRWInstallerIsInQueueKey[] = "isInQueue";
/// 64-bit integer, bytes: size of the download.
inline constexpr char kKQRWInstallerTotalBytesKey[] = "totalBytes";
/// 64-bit integer, bytes: received so far.
inline constexpr char kKQRWInstallerReceivedBytesKey[] = "receivedBytes";
/// 64-bit integer: the job's simple status code. Never stored.
inline constexpr char kKQRWInstallerCurrentActionKey[] = "currentAction";
/// Text: where the update was downloaded. Never stored.
inline constexpr char kKQRWInstallerDownloadPathKey[] = "downloadPath";
/// Text: the unpacked or mounted resources of the update. Never stored.
inline constexpr char kKQRWInstallerResourcesPathKey[] = "resourcePath";

/// Text, for the host's user interface alone: its key, and a value of it.
inline constexpr char kKQRWItemStatusKey[] = "applicationStatus";
inline constexpr char kKQRWItemUpToDateKey[] = "upToDate";

}  // namespace revwarden
