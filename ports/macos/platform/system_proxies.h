#pragma once

#include <optional>
#include <string>

namespace revwarden {

/// Returns the proxy for an address according to the user's network settings, as `ProxyFor` defines
/// it: "" for none, otherwise the first proxy in the settings, which may exclude hosts. Absent if
/// `url` is not an address. Reads the settings at each call. Any thread.
///
/// - A SOCKS proxy is used with version 5 and resolves host names itself.
/// - Configuration scripts are not run. If the settings name one, the result is absent.
/// - User names and passwords are not read. A proxy that requires them fails the transfer.
std::optional<std::string> systemProxyFor(const std::string& url);

}  // namespace revwarden
