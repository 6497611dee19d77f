#pragma once

#include <cstdint>
#include <memory>

namespace revwarden {

class KQRWAgent;
struct Platform;

/// The version of the plug-in's interface. Increment it with every change to the interface.
inline constexpr uint32_t kPluginABI = 3;

/// The name of the factory function in the plug-in, for dlsym.
inline constexpr char kPluginFactoryName[] = "revwarden_create_principal_object";

/// The factory function, a C function that the plug-in exports.
///
/// Creates the agent, which loads its settings and starts the first refresh. Sets `*agent` and
/// returns the version of the plug-in as static text. The plug-in must never be unloaded. Main
/// thread.
///
/// C++ objects cross the interface, so host and plug-in must be from the same build: returns
/// nullptr and creates nothing if `abi` is not the plug-in's `kPluginABI`, or `buildId` not its
/// `REVWARDEN_BUILD_ID`.
using PluginFactory = const char*(uint32_t abi, const char* buildId,
                                  const std::shared_ptr<const Platform>* platform,
                                  std::shared_ptr<KQRWAgent>* agent);

}  // namespace revwarden
