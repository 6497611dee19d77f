#pragma once

// The keys of an answer of the update service about one application, as its record has them, and
// the values of the key for the update method. The keys are the element names of the response. All
// values are texts. Unknown fields of a response are kept.
namespace revwarden {

inline constexpr char kKQRWINameKey[] = "name";
inline constexpr char kKQRWIVersionKey[] = "version";
inline constexpr char kKQRWIOSKey[] = "os";
inline constexpr char kKQRWINewInVersionKey[] = "new_in_version";
inline constexpr char kKQRWIShortDescrKey[] = "short_descr";
inline constexpr char kKQRWIFullDescrKey[] = "full_descr";
inline constexpr char kKQRWILicenseKey[] = "license";
inline constexpr char kKQRWILimitationsKey[] = "limitations";
inline constexpr char kKQRWIPriceKey[] = "price";
inline constexpr char kKQRWISupportedMacOSXKey[] = "ar";
inline constexpr char kKQRWIDateAddKey[] = "date_add";
inline constexpr char kKQRWIDownloadLinkKey[] = "download_link";
inline constexpr char kKQRWIFileSizeKey[] = "file_size";
inline constexpr char kKQRWIFileSizeByteKey[] = "file_size_byte";
inline constexpr char kKQRWIFileSizeByteNumberKey[] = "file_size_byte_number";
inline constexpr char kKQRWIUpdateMethodKey[] = "updateMethod";
inline constexpr char kKQRWIBundleIDKey[] = "bundle_id";

// Update methods: what a job does with the update. A job with an unknown method installs as with
// "auto", but downloads into the Downloads folder.

/// Download into the temporary folder and install without the user.
inline constexpr char kKQRWUpdateMethodAuto[] = "auto";
/// Download into the Downloads folder and select the file in the file viewer.
inline constexpr char kKQRWUpdateMethodDownloadAndReveal[] = "downloadOnly";
/// Download into the Downloads folder and open the disk image for the user.
inline constexpr char kKQRWUpdateMethodDownloadAndMount[] = "downloadAndMount";
/// Open the link in the browser; download nothing.
inline constexpr char kKQRWUpdateMethodManual[] = "manual";

}  // namespace revwarden
