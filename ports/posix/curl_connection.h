#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <utility>

#include "platform/url_connection.h"
#include "ports/posix/proxy_for.h"

namespace revwarden {

/// What became of one exchange.
struct ExchangeEnd {
  std::string address;               // as it was asked for
  long status = 0;                   // of the last answer; 0 when none came
  int64_t bytesReceived = 0;         // of its body, whether or not that was whole
  std::optional<std::string> error;  // why there is no body; absent when there is one
};

/// Sends requests with libcurl. Any thread; requests may run side by side.
///
/// GET and POST over http and https. Beyond the request line go only Host and, with a POST,
/// Content-Length. Up to 20 redirects are followed, to http and https only: after 301, 302 and 303
/// a POST goes on as a GET, after 307 and 308 it is sent again with its body. The body comes as it
/// was sent, without content decoding; it comes through the proxy that was chosen, else as the
/// proxy variables of the environment say.
///
/// There is no limit to the whole time. The exchange fails when for the idle time nothing moved:
/// no step of connecting, no byte of a body in either direction, no header line. It may be noticed
/// up to a second late.
///
/// The first instance prepares libcurl for the process, and has the process ignore SIGPIPE unless
/// it handles it.
class CurlConnection final : public URLConnection {
 public:
  struct Limits {
    std::chrono::milliseconds idle = std::chrono::seconds(60);
    size_t bodyBytes = size_t{256} << 20;
  };

  using Ended = std::function<void(const ExchangeEnd&)>;

  /// `ended` is called once for each request, on its thread, before the answer is returned.
  explicit CurlConnection(Ended ended) : CurlConnection(std::move(ended), Limits()) {}
  CurlConnection(Ended ended, Limits limits, ProxyFor proxyFor = {});

  URLExchange sendSynchronousRequest(const URLRequest& request) override;

 private:
  const Ended ended_;
  const Limits limits_;
  const ProxyFor proxyFor_;
};

}  // namespace revwarden
