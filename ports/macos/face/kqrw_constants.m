#import "ports/macos/face/kqrw_constants.h"

NSString* const kKQRWIDKey = @"id";
NSString* const kKQRWApplicationPathKey = @"applicationPath";
NSString* const kKQRWApplicationNameKey = @"applicationName";
NSString* const kKQRWBundleIdKey = @"bundleId";
NSString* const kKQRWCurrentVersionKey = @"currentVersion";
NSString* const kKQRWIsFavouriteKey = @"isFavourite";
NSString* const kKQRWIsInBlackList = @"isInBlackList";
NSString* const kKQRWAvailableVersionInfoKey = @"availableVersionInfo";
NSString* const kKQRWLastFullCheckDate = @"lastFullCheckDate";
NSString* const kKQRWNotifiedVersionKey = @"notifiedVersion";
NSString* const kKQRWInstallerIsInQueueKey = @"isInQueue";
NSString* const kKQRWInstallerTotalBytesKey = @"totalBytes";
NSString* const kKQRWInstallerReceivedBytesKey = @"receivedBytes";
NSString* const kKQRWInstallerCurrentActionKey = @"currentAction";
NSString* const kKQRWInstallerDownloadPathKey = @"downloadPath";
NSString* const kKQRWInstallerResourcesPathKey = @"resourcePath";
NSString* const kKQRWItemStatusKey = @"applicationStatus";
NSString* const kKQRWItemUpToDateKey = @"upToDate";

NSString* const kKQRWINameKey = @"name";
NSString* const kKQRWIVersionKey = @"version";
NSString* const kKQRWIOSKey = @"os";
NSString* const kKQRWINewInVersionKey = @"new_in_version";
NSString* const kKQRWIShortDescrKey = @"short_descr";
NSString* const kKQRWIFullDescrKey = @"full_descr";
NSString* const kKQRWILicenseKey = @"license";
NSString* const kKQRWILimitationsKey = @"limitations";
NSString* const kKQRWIPriceKey = @"price";
NSString* const kKQRWISupportedMacOSXKey = @"ar";
NSString* const kKQRWIDateAddKey = @"date_add";
NSString* const kKQRWIDownloadLinkKey = @"download_link";
NSString* const kKQRWIFileSizeKey = @"file_size";
NSString* const kKQRWIFileSizeByteKey = @"file_size_byte";
NSString* const kKQRWIFileSizeByteNumberKey = @"file_size_byte_number";
NSString* const kKQRWIUpdateMethodKey = @"updateMethod";
NSString* const kKQRWIBundleIDKey = @"bundle_id";

NSString* const kKQRWUpdateMethodAuto = @"auto";
NSString* const kKQRWUpdateMethodDownloadAndReveal = @"downloadOnly";
NSString* const kKQRWUpdateMethodDownloadAndMount = @"downloadAndMount";
NSString* const kKQRWUpdateMethodManual = @"manual";
