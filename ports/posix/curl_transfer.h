#pragma once

#include <curl/curl.h>

#include <array>
#include <chrono>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "ports/posix/proxy_for.h"

namespace revwarden {

/// Prepares libcurl for the process, and has the process ignore SIGPIPE unless it handles it. Any
/// thread; to be called before the first transfer.
void prepareCurl();

/// What all transfers with libcurl have in common: http and https only, also after any of up to 20
/// redirects; no header line beyond those that HTTP demands; the body as it was sent, without
/// content decoding; through the proxy that was chosen, else as the proxy variables of the
/// environment say; all sockets close-on-exec; no limit to the whole time, but a clock for the time
/// in which nothing moved.
///
/// Used by one thread. The address and the limit are for the whole life of the object.
class CurlTransfer {
 public:
  CurlTransfer(const CurlTransfer&) = delete;
  CurlTransfer& operator=(const CurlTransfer&) = delete;

 protected:
  using Clock = std::chrono::steady_clock;

  explicit CurlTransfer(std::chrono::milliseconds idle) : idle_(idle) {}
  virtual ~CurlTransfer() = default;

  /// Sets all of the above for a GET of this address. `proxyFor` may be empty. False when there is
  /// no memory.
  bool setUp(const std::string& url, const ProxyFor& proxyFor);

  template <typename T>
  bool set(CURLoption option, T value) {
    return curl_easy_setopt(curl_.get(), option, value) == CURLE_OK;
  }
  CURL* curl() const { return curl_.get(); }

  /// Takes bytes of the body of the last response; called inside libcurl, which ends the transfer
  /// when not all are taken, and keeps them for later at CURL_WRITEFUNC_PAUSE.
  virtual size_t takeBody(std::string_view bytes) = 0;

  /// Called inside libcurl at the end of each head, those of redirects and interim ones included.
  virtual void headEnded() {}

  /// Starts the idle clock again. A header line, bytes of a body and a finished connection do so
  /// by themselves.
  void moved() { lastMove_ = Clock::now(); }
  std::chrono::milliseconds idleTimeLeft() const;
  static constexpr const char* kIdleTooLong = "Timed out: nothing moved for too long";

  /// Why a transfer that libcurl ended so brought no whole body; absent when it did.
  std::optional<std::string> errorOf(CURLcode code) const;

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
  bool headIsWhole_ = false;
  Clock::time_point lastMove_ = Clock::now();
};

}  // namespace revwarden
