#pragma once

#include <curl/curl.h>

#include <array>
#include <chrono>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "base/result.h"
#include "ports/posix/proxy_for.h"

namespace revwarden {

/// Prepares libcurl for the process, and makes the process ignore SIGPIPE unless it handles it. Any
/// thread; to be called before the first transfer.
void prepareCurl();

/// The base of all transfers with libcurl: http and https only, also after any of up to 20
/// redirects; no header line except those that HTTP demands; the body as it was sent, without
/// content decoding; through the proxy chosen by `ProxyFor`; all sockets close-on-exec. The whole
/// transfer has no time limit, but an idle clock measures the time in which nothing arrived or was
/// sent.
///
/// Used by one thread. An object makes one transfer.
class CurlTransfer {
 public:
  CurlTransfer(const CurlTransfer&) = delete;
  CurlTransfer& operator=(const CurlTransfer&) = delete;

 protected:
  using Clock = std::chrono::steady_clock;

  explicit CurlTransfer(std::chrono::milliseconds idle) : idle_(idle) {}
  virtual ~CurlTransfer() = default;

  /// Sets all of the above for a GET of this address. `proxyFor` may be empty. Returns false when
  /// there is no memory.
  bool setUp(const std::string& url, const ProxyFor& proxyFor);

  template <typename T>
  bool set(CURLoption option, T value) {
    return curl_easy_setopt(curl_.get(), option, value) == CURLE_OK;
  }
  CURL* curl() const { return curl_.get(); }

  /// Receives bytes of the body of the last response. Called inside libcurl. Returns their number;
  /// less ends the transfer, and CURL_WRITEFUNC_PAUSE makes libcurl keep them for later.
  virtual size_t takeBody(std::string_view bytes) = 0;

  /// Called inside libcurl at the end of the header of each response, including redirects and
  /// interim ones.
  virtual void headEnded() {}

  /// Restarts the idle clock. A header line, bytes of a body and an established connection restart
  /// it without this call.
  void moved() { lastMove_ = Clock::now(); }
  std::chrono::milliseconds idleTimeLeft() const;
  static constexpr const char* kIdleTooLong = "Timed out: no data arrived for too long";

  /// Success if a transfer that ended with `code` brought a whole body, else why it did not.
  Result<> resultOf(CURLcode code) const;

 private:
  struct CurlDeleter {
    void operator()(CURL* curl) const { curl_easy_cleanup(curl); }
  };
  struct ListDeleter {
    void operator()(curl_slist* list) const { curl_slist_free_all(list); }
  };
  using HeaderList = std::unique_ptr<curl_slist, ListDeleter>;

  static HeaderList withoutHeaders();
  bool setRules();
  bool setProxy(const std::optional<std::string>& proxy);
  bool setCallbacks();
  void addHeaderLine(std::string_view line);

  static size_t onBody(char* bytes, size_t, size_t count, void* self);
  static size_t onHeader(char* bytes, size_t, size_t count, void* self);
  static int onConnected(void* self, char*, char*, int, int);

  const std::chrono::milliseconds idle_;
  std::array<char, CURL_ERROR_SIZE> errorText_{};
  const HeaderList headers_ = withoutHeaders();
  const std::unique_ptr<CURL, CurlDeleter> curl_{curl_easy_init()};
  bool isHeaderWhole_ = false;
  Clock::time_point lastMove_ = Clock::now();
};

}  // namespace revwarden
