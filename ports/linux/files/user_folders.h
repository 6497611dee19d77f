#pragma once

#include <string>

namespace revwarden {

/// The user's home folder: HOME when it is a full path, else what the system knows of the user.
/// Not to be called while another thread changes the environment.
std::string homeFolder();

/// The folder for the data of the user's programs, "~/.local/share" unless XDG_DATA_HOME names
/// another one by a full path.
std::string dataFolder();

}  // namespace revwarden
