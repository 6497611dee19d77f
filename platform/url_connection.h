#pragma once

#include <optional>
#include <string>

namespace revwarden {

/// One HTTP request.
struct URLRequest {
  std::string url;
  std::string method;
  std::string body;
};

/// Sends HTTP requests. Any thread.
class URLConnection {
 public:
  virtual ~URLConnection() = default;

  /// Sends the request, with no headers beyond those that HTTP itself demands, follows redirects
  /// (with a GET after 301, 302 and 303, with the same request after 307 and 308) and answers the
  /// body that came back, whatever the status. Blocks until the exchange ends or nothing has moved
  /// for 60 seconds. Absent when no whole body came: refused, reset, timed out, cut short, or
  /// larger than the port is willing to hold.
  virtual std::optional<std::string> sendSynchronousRequest(const URLRequest& request) = 0;
};

}  // namespace revwarden
