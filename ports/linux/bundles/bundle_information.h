#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

#include "base/result.h"
#include "ports/linux/files/regular_file.h"

// The information property list of a bundle as a file: "Contents/Info.plist", else "Info.plist",
// else "Resources/Info.plist" in the bundle's folder.
namespace revwarden {

/// Which of these files it is, and its state. Equal values mean that nothing changed, if the state
/// of the earlier one was settled.
struct InformationFile {
  size_t place = 0;
  FileState state;

  bool operator==(const InformationFile&) const = default;
};

/// Finds the file without reading it. Returns nullopt if there is none or one cannot be examined.
std::optional<InformationFile> findInformationFile(std::string_view bundle);

/// Reads the file into `contents`, whose memory is reused. Errors as of `readRegularFile`; the
/// limit is 16 MiB.
Result<InformationFile> readInformationFile(std::string_view bundle, std::string& contents);

}  // namespace revwarden
