#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

// Disk images that are attached: their volumes are laid out as folders that nobody can write, below
// "volumes" in the private temporary folder of the user. What stays attached is gone after the next
// start of the machine, with the first image that is attached then.
namespace revwarden {

/// What came of attaching: at least one mount point, or the reason why there is none.
struct Attachment {
  std::vector<std::string> mountPoints;
  std::optional<std::string> error;
};

/// Lays out the volumes of an image, or finds them where the very same state of the file is
/// attached already. On failure nothing is left. One image is laid out at a time; others wait.
Attachment attachImage(const std::string& image);

/// Removes what was attached together with this mount point. Absent on success, else the reason;
/// only a mount point of an attached image is ever removed.
std::optional<std::string> detachVolume(std::string_view mountPoint);

}  // namespace revwarden
