#pragma once

#include <string>

// Folders of the user by the environment. Not by GLib, which reads the environment only once. Not
// to be called while another thread changes the environment.
namespace revwarden {

/// The user's home folder: HOME if that is a full path, else that of the user database.
std::string homeFolder();

/// The folder for the data of the user's programs: XDG_DATA_HOME if that is a full path, else
/// "~/.local/share".
std::string dataFolder();

}  // namespace revwarden
