#pragma once

#include <string>

// What was put on the disk together with this program, wherever that is. Full paths, of things that
// need not exist.
namespace revwarden {

/// The plug-in's bundle: the one beside the program, else the installed one.
std::string ownPluginPath();

/// The folder of the programs that only the agent starts.
std::string ownToolsFolder();

}  // namespace revwarden
