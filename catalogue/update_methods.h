#pragma once

// What an update job does with an update, as the update service asks for it. Any other text
// installs as "auto" does, but downloads to where the user sees the file.
namespace revwarden {

/// Download into the temporary folder and install without the user.
inline constexpr char kKQRWUpdateMethodAuto[] = "auto";
/// Download into the Downloads folder and select the file there; install nothing.
inline constexpr char kKQRWUpdateMethodDownloadAndReveal[] = "downloadOnly";
/// Download into the Downloads folder and mount the disk image for the user, who does the rest.
inline constexpr char kKQRWUpdateMethodDownloadAndMount[] = "downloadAndMount";
/// Download nothing: open the link in the user's browser.
inline constexpr char kKQRWUpdateMethodManual[] = "manual";

}  // namespace revwarden
