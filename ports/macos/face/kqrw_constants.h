#pragma once

#import <Foundation/Foundation.h>

#import "ports/macos/face/kqrw_export.h"

// Constants that the agent shares with the host's user interface. They are documented in
// catalogue/record_keys.h and catalogue/version_info_keys.h.

#ifdef __cplusplus
extern "C" {
#endif

// Keys of an item record.
KQRW_EXPORT extern NSString* const kKQRWIDKey;
KQRW_EXPORT extern NSString* const kKQRWApplicationPathKey;
KQRW_EXPORT extern NSString* const kKQRWApplicationNameKey;
KQRW_EXPORT extern NSString* const kKQRWBundleIdKey;
KQRW_EXPORT extern NSString* const kKQRWCurrentVersionKey;
KQRW_EXPORT extern NSString* const kKQRWIsFavouriteKey;
KQRW_EXPORT extern NSString* const kKQRWIsInBlackList;
KQRW_EXPORT extern NSString* const kKQRWAvailableVersionInfoKey;
KQRW_EXPORT extern NSString* const kKQRWLastFullCheckDate;
KQRW_EXPORT extern NSString* const kKQRWNotifiedVersionKey;
KQRW_EXPORT extern NSString* const kKQRWInstallerIsInQueueKey;
KQRW_EXPORT extern NSString* const kKQRWInstallerTotalBytesKey;
KQRW_EXPORT extern NSString* const kKQRWInstallerReceivedBytesKey;
KQRW_EXPORT extern NSString* const kKQRWInstallerCurrentActionKey;
KQRW_EXPORT extern NSString* const kKQRWInstallerDownloadPathKey;
KQRW_EXPORT extern NSString* const kKQRWInstallerResourcesPathKey;
KQRW_EXPORT extern NSString* const kKQRWItemStatusKey;
KQRW_EXPORT extern NSString* const kKQRWItemUpToDateKey;

// Keys of the update service's answer for one application. All values are strings.
KQRW_EXPORT extern NSString* const kKQRWINameKey;
KQRW_EXPORT extern NSString* const kKQRWIVersionKey;
KQRW_EXPORT extern NSString* const kKQRWIOSKey;
KQRW_EXPORT extern NSString* const kKQRWINewInVersionKey;
KQRW_EXPORT extern NSString* const kKQRWIShortDescrKey;
KQRW_EXPORT extern NSString* const kKQRWIFullDescrKey;
KQRW_EXPORT extern NSString* const kKQRWILicenseKey;
KQRW_EXPORT extern NSString* const kKQRWILimitationsKey;
KQRW_EXPORT extern NSString* const kKQRWIPriceKey;
KQRW_EXPORT extern NSString* const kKQRWISupportedMacOSXKey;
KQRW_EXPORT extern NSString* const kKQRWIDateAddKey;
KQRW_EXPORT extern NSString* const kKQRWIDownloadLinkKey;
KQRW_EXPORT extern NSString* const kKQRWIFileSizeKey;
KQRW_EXPORT extern NSString* const kKQRWIFileSizeByteKey;
KQRW_EXPORT extern NSString* const kKQRWIFileSizeByteNumberKey;
KQRW_EXPORT extern NSString* const kKQRWIUpdateMethodKey;
KQRW_EXPORT extern NSString* const kKQRWIBundleIDKey;

// Update methods: what a job does with an update.
KQRW_EXPORT extern NSString* const kKQRWUpdateMethodAuto;
KQRW_EXPORT extern NSString* const kKQRWUpdateMethodDownloadAndReveal;
KQRW_EXPORT extern NSString* const kKQRWUpdateMethodDownloadAndMount;
KQRW_EXPORT extern NSString* const kKQRWUpdateMethodManual;

#ifdef __cplusplus
}
#endif
