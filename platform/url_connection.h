#pragma once

#include <optional>
#include <string>

#include "base/result.h"

namespace revwarden {

/// One HTTP request.
struct URLRequest {
  std::string url;
  std::string method;
  std::string body;
};

/// The outcome of an HTTP request.
struct URLExchange {
  std::optional<int> status;  // HTTP status of the last response; absent if none came
  Result<std::string> body;   // of the response, whatever its status
};

/// Sends HTTP requests. Any thread.
class URLConnection {
 public:
  virtual ~URLConnection() = default;

  /// Sends the request, with no headers beyond those that HTTP itself demands, follows redirects
  /// (with a GET after 301, 302 and 303, with the same request after 307 and 308) and returns the
  /// body of the response. Blocks until the exchange ends or nothing has moved for 60 seconds. The
  /// body is an error if it did not arrive whole: refused, reset, timed out, cut short, or larger
  /// than the port's limit.
  virtual URLExchange sendSynchronousRequest(const URLRequest& request) = 0;
};

}  // namespace revwarden
