#pragma once

#include <string>

namespace revwarden {

/// Asks the desktop's file viewer over the session bus to show the file selected in its folder.
/// Whether it did; false at once without a session bus or a file viewer, at the latest after ten
/// seconds. Any thread; the loops of the process take no part. `path` is a full one.
bool showInFileViewer(const std::string& path);

}  // namespace revwarden
