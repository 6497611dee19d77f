#pragma once

#include <functional>
#include <optional>
#include <string>

// Apart from curl_transfer.h, so that libcurl's headers are needed only to build the transfers.
namespace revwarden {

/// Chooses how an address is reached: through a proxy ("http://host:port" or another address that
/// libcurl takes), directly (""), or as the proxy variables of the environment say (nullopt).
/// Called once for each transfer; redirects go the same way. Any thread, also several at a time.
using ProxyFor = std::function<std::optional<std::string>(const std::string& url)>;

}  // namespace revwarden
