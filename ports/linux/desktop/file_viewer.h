#pragma once

#include <string>

namespace revwarden {

/// Asks the desktop's file viewer, over the session bus, to show the file at a full path selected
/// in its folder. Returns true if it did; false at once without a session bus or a file viewer, and
/// after ten seconds without an answer. Uses no loop of the process. Any thread.
bool showInFileViewer(const std::string& path);

}  // namespace revwarden
