#pragma once

#include <optional>
#include <string>

namespace revwarden {

/// How the user's network settings want an address to be reached, in the terms of `ProxyFor`: ""
/// directly, else the first proxy that the settings name for it; their exceptions are heeded. The
/// settings are read at each call, so a change holds from the next transfer on. Any thread.
///
/// - A SOCKS proxy is taken for one of version 5 and looks up the host's name itself.
/// - Configuration scripts are not run. Where the settings leave the choice to one the answer is
///   absent, as it is for what is no address.
/// - Names and passwords for proxies are not read. A proxy that asks for them fails the transfer.
std::optional<std::string> systemProxyFor(const std::string& url);

}  // namespace revwarden
