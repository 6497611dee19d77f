#pragma once

#include <cstdint>
#include <memory>

namespace revwarden {

class KQRWAgent;
struct Platform;

/// Changes with every change to what crosses the plug-in's edge.
inline constexpr uint32_t kPluginABI = 3;

/// The name of the factory in the plug-in, for dlsym.
inline constexpr char kPluginFactoryName[] = "revwarden_create_principal_object";

/// A C function that the plug-in exports under that name.
///
/// Creates the agent: loads its settings and starts the first refresh. Main thread.
///
/// C++ objects cross the edge, so both sides must come from one build: when `abi` is not the
/// plug-in's `kPluginABI` or `buildId` not its `REVWARDEN_BUILD_ID`, nothing is created and the
/// answer is nullptr. The plug-in must never be unloaded. On success `*agent` is set and the answer
/// is the plug-in's version, a text that lives as long as the process.
using PluginFactory = const char*(uint32_t abi, const char* buildId,
                                  const std::shared_ptr<const Platform>* platform,
                                  std::shared_ptr<KQRWAgent>* agent);

}  // namespace revwarden
