#include "ports/posix/curl_connection.h"

#include <new>
#include <string_view>
#include <utility>

#include "ports/posix/curl_transfer.h"

namespace revwarden {
namespace {

/// One request and its response. Used by one thread.
class Exchange final : CurlTransfer {
 public:
  Exchange(const URLRequest& request, const CurlConnection::Limits& limits)
      : CurlTransfer(limits.idle), request_(request), limits_(limits) {}

  ExchangeEnd run(const ProxyFor& proxyFor) {
    ExchangeEnd end;
    end.address = request_.url;
    if (!setUp(request_.url, proxyFor) || !setMethod() || !setProgress()) {
      end.error = "Cannot prepare the request";
      return end;
    }
    moved();
    const CURLcode code = curl_easy_perform(curl());
    curl_easy_getinfo(curl(), CURLINFO_RESPONSE_CODE, &end.status);
    end.bytesReceived = received_;
    const Result<> result = resultOf(code);
    if (!refusal_.empty()) {
      end.error = refusal_;
    } else if (!result) {
      end.error = result.error().message;
    }
    return end;
  }

  std::string body() { return std::move(body_); }

 private:
  bool setMethod() {
    if (request_.method == "GET") return true;
    return request_.method == "POST" && set(CURLOPT_POST, 1L) && set(CURLOPT_POSTREDIR, 0L) &&
           set(CURLOPT_POSTFIELDSIZE_LARGE, static_cast<curl_off_t>(request_.body.size())) &&
           set(CURLOPT_POSTFIELDS, request_.body.data());
  }

  bool setProgress() {
    return set(CURLOPT_XFERINFOFUNCTION, &Exchange::onProgress) &&
           set(CURLOPT_XFERINFODATA, this) && set(CURLOPT_NOPROGRESS, 0L);
  }

  size_t takeBody(std::string_view bytes) override {
    received_ += static_cast<int64_t>(bytes.size());
    if (bytes.size() > limits_.bodyBytes - body_.size()) {
      refusal_ = "The response is larger than " + std::to_string(limits_.bodyBytes) + " bytes";
      return 0;
    }
    try {
      body_.append(bytes);
    } catch (const std::bad_alloc&) {  // must not pass through libcurl
      refusal_ = "Out of memory for the response";
      return 0;
    }
    return bytes.size();
  }

  static int onProgress(void* self, curl_off_t, curl_off_t, curl_off_t, curl_off_t sent) {
    return static_cast<Exchange*>(self)->isIdleTooLong(sent) ? 1 : 0;
  }

  bool isIdleTooLong(curl_off_t sent) {
    if (sent != sent_) moved();
    sent_ = sent;
    if (idleTimeLeft().count() > 0) return false;
    refusal_ = kIdleTooLong;
    return true;
  }

  const URLRequest& request_;
  const CurlConnection::Limits& limits_;

  std::string body_;
  int64_t received_ = 0;
  curl_off_t sent_ = 0;
  std::string refusal_;  // why this class ended the transfer
};

}  // namespace

CurlConnection::CurlConnection(Ended ended, Limits limits, ProxyFor proxyFor)
    : ended_(std::move(ended)), limits_(limits), proxyFor_(std::move(proxyFor)) {
  prepareCurl();
}

URLExchange CurlConnection::sendSynchronousRequest(const URLRequest& request) {
  Exchange exchange(request, limits_);
  const ExchangeEnd end = exchange.run(proxyFor_);
  if (ended_) ended_(end);
  URLExchange result{.status = {}, .body = exchange.body()};
  if (end.status != 0) result.status = static_cast<int>(end.status);
  if (end.error) result.body = Error{"connection", *end.error};
  return result;
}

}  // namespace revwarden
