#pragma once

#import <Foundation/Foundation.h>

// Texts that the agent shares with the host's user interface. Their meanings stand in
// agent/record_keys.h, check/version_info_keys.h and updater/update_methods.h.

#ifdef __cplusplus
extern "C" {
#endif

// Keys of an item record.
extern NSString* const kKQRWIDKey;
extern NSString* const kKQRWApplicationPathKey;
extern NSString* const kKQRWApplicationNameKey;
extern NSString* const kKQRWBundleIdKey;
extern NSString* const kKQRWCurrentVersionKey;
extern NSString* const kKQRWIsFavouriteKey;
extern NSString* const kKQRWIsInBlackList;
extern NSString* const kKQRWAvailableVersionInfoKey;
extern NSString* const kKQRWLastFullCheckDate;
extern NSString* const kKQRWNotifiedVersionKey;
extern NSString* const kKQRWInstallerIsInQueueKey;
extern NSString* const kKQRWInstallerTotalBytesKey;
extern NSString* const kKQRWInstallerReceivedBytesKey;
extern NSString* const kKQRWInstallerCurrentActionKey;
extern NSString* const kKQRWInstallerDownloadPathKey;
extern NSString* const kKQRWInstallerResourcesPathKey;
extern NSString* const kKQRWItemStatusKey;
extern NSString* const kKQRWItemUpToDateKey;

// Keys of an answer of the update service about one application, all of whose values are strings.
extern NSString* const kKQRWINameKey;
extern NSString* const kKQRWIVersionKey;
extern NSString* const kKQRWIOSKey;
extern NSString* const kKQRWINewInVersionKey;
extern NSString* const kKQRWIShortDescrKey;
extern NSString* const kKQRWIFullDescrKey;
extern NSString* const kKQRWILicenseKey;
extern NSString* const kKQRWILimitationsKey;
extern NSString* const kKQRWIPriceKey;
extern NSString* const kKQRWISupportedMacOSXKey;
extern NSString* const kKQRWIDateAddKey;
extern NSString* const kKQRWIDownloadLinkKey;
extern NSString* const kKQRWIFileSizeKey;
extern NSString* const kKQRWIFileSizeByteKey;
extern NSString* const kKQRWIFileSizeByteNumberKey;
extern NSString* const kKQRWIUpdateMethodKey;
extern NSString* const kKQRWIBundleIDKey;

// What an update job does with an update.
extern NSString* const kKQRWUpdateMethodAuto;
extern NSString* const kKQRWUpdateMethodDownloadAndReveal;
extern NSString* const kKQRWUpdateMethodDownloadAndMount;
extern NSString* const kKQRWUpdateMethodManual;

#ifdef __cplusplus
}
#endif
