#pragma once

#include <string>

namespace revwarden {

/// Starts the program of an application's bundle, its CFBundleExecutable, in a session of its own,
/// so that it can outlive this process. The program is the first that this machine can run of the
/// files with that name in Contents/Linux, Contents/MacOS and the bundle's folder itself. Returns
/// true if it was started. Any thread.
bool launchApplication(const std::string& bundlePath);

}  // namespace revwarden
