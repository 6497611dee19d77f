#pragma once

#include <chrono>
#include <memory>
#include <string>

#include "platform/url_download.h"
#include "ports/posix/proxy_for.h"

namespace revwarden {

/// Downloads with libcurl, by the rules of CurlTransfer; any number side by side.
///
/// A download fails when nothing has moved for the idle time: no step of connecting, no header
/// line, no byte of the body. Time spent in the delegate does not count.
class CurlDownloads final : public URLDownloads {
 public:
  struct Limits {
    std::chrono::milliseconds idle = std::chrono::seconds(60);
  };

  CurlDownloads() : CurlDownloads(Limits()) {}
  explicit CurlDownloads(Limits limits, ProxyFor proxyFor = {});

  std::unique_ptr<URLDownload> beginDownload(const std::string& url,
                                             URLDownloadDelegate& delegate) override;

 private:
  const Limits limits_;
  const ProxyFor proxyFor_;
};

}  // namespace revwarden
