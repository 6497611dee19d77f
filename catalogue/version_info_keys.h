#pragma once

// Keys of an answer of the update service about one application, as stored in its record. They are
// the element names of the wire format; all values are texts, and fields beyond these are kept.
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

}  // namespace revwarden
