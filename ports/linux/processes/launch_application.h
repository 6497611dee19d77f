#pragma once

#include <string>

namespace revwarden {

/// Starts the program of an application's bundle, its CFBundleExecutable, in a session of its own,
/// and lets it live on without this process. Whether it was started. Any thread.
///
/// Of the files with that name in Contents/Linux, Contents/MacOS and the bundle's folder itself it
/// is the first that this machine can run.
bool launchApplication(const std::string& bundlePath);

}  // namespace revwarden
