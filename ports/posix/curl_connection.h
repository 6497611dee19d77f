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

/// The outcome of one exchange, for a log.
struct ExchangeEnd {
  std::string address;               // of the request
  long status = 0;                   // HTTP status of the last response; 0 if none came
  int64_t bytesReceived = 0;         // of the last body, whether or not that was whole
  std::optional<std::string> error;  // why there is no body; absent if there is one
};

/// Sends requests with libcurl, by the rules of CurlTransfer. Any thread; requests may run side by
/// side.
///
/// Only GET and POST. The only headers are Host and, with a POST, Content-Length. After redirect
/// 301, 302 or 303 a POST goes on as a GET, after 307 or 308 it is sent again with its body.
///
/// The exchange fails when nothing has moved for the idle time: no step of connecting, no byte of a
/// body in either direction, no header line. That may be noticed up to a second late.
///
/// The first instance prepares libcurl for the process, and makes the process ignore SIGPIPE unless
/// it handles it.
class CurlConnection final : public URLConnection {
 public:
  struct Limits {
    std::chrono::milliseconds idle = std::chrono::seconds(60);
    size_t bodyBytes = size_t{256} << 20;
  };

  using Ended = std::function<void(const ExchangeEnd&)>;

  /// `ended` is called once for each request, on its thread, before the result is returned. Either
  /// function may be empty.
  explicit CurlConnection(Ended ended) : CurlConnection(std::move(ended), Limits()) {}
  CurlConnection(Ended ended, Limits limits, ProxyFor proxyFor = {});

  URLExchange sendSynchronousRequest(const URLRequest& request) override;

 private:
  const Ended ended_;
  const Limits limits_;
  const ProxyFor proxyFor_;
};

}  // namespace revwarden
