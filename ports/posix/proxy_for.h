#pragma once

#include <functional>
#include <optional>
#include <string>

namespace revwarden {

/// Chooses how an address is reached: through a proxy ("http://host:port" or another address that
/// libcurl takes), directly (""), or as the proxy variables of the environment say (absent). Any
/// thread, also several at a time.
///
/// It is asked once for each transfer; redirects go the same way.
using ProxyFor = std::function<std::optional<std::string>(const std::string& url)>;

}  // namespace revwarden
