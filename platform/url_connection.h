#pragma once

#include <optional>
#include <string>

#include "base/result.h"

namespace revwarden {

/// An HTTP request.
struct URLRequest {
  std::string url;
  std::string method;
  std::string body;
};

/// The result of an HTTP request.
struct URLExchange {
  std::optional<int> status;  // HTTP status of the last response; absent if there was none
  Result<std::string> body;   // the body of that response, whatever its status
};

/// Sends HTTP requests. Any thread.
class URLConnection {
 public:
  virtual ~URLConnection() = default;

  /// Sends the request and returns the response. Sends only the headers that HTTP requires. Follows
  /// redirects: with a GET after 301, 302 and 303, with the same request after 307 and 308. Blocks
  /// until the exchange ends or no data has moved for 60 seconds.
  ///
  /// `body` is an error if it did not arrive completely: the connection was refused, reset,
  /// timed out or truncated, or the body exceeds the port's limit.
  virtual URLExchange sendSynchronousRequest(const URLRequest& request) = 0;
};

}  // namespace revwarden
