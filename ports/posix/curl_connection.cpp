#include "ports/posix/curl_connection.h"

#include <curl/curl.h>
#include <fcntl.h>
#include <sys/socket.h>

#include <array>
#include <csignal>
#include <memory>
#include <new>
#include <string_view>
#include <utility>

namespace revwarden {
namespace {

using Clock = std::chrono::steady_clock;

void ignoreBrokenPipes() {
  struct sigaction current {};
  if (sigaction(SIGPIPE, nullptr, &current) == 0 && current.sa_handler == SIG_DFL) {
    std::signal(SIGPIPE, SIG_IGN);
  }
}

// Without it curl_easy_init fails, so nobody needs the outcome.
void prepareProcess() {
  [[maybe_unused]] static const CURLcode prepared = [] {
    ignoreBrokenPipes();
    return curl_global_init(CURL_GLOBAL_DEFAULT);
  }();
}

curl_socket_t openSocket(void*, curlsocktype, curl_sockaddr* address) {
#ifdef SOCK_CLOEXEC
  return socket(address->family, address->socktype | SOCK_CLOEXEC, address->protocol);
#else
  const int descriptor = socket(address->family, address->socktype, address->protocol);
  if (descriptor >= 0) fcntl(descriptor, F_SETFD, FD_CLOEXEC);
  return descriptor;
#endif
}

/// One request and what has come of it. Used by one thread.
class Exchange {
 public:
  Exchange(const URLRequest& request, const CurlConnection::Limits& limits)
      : request_(request), limits_(limits) {}
  Exchange(const Exchange&) = delete;
  Exchange& operator=(const Exchange&) = delete;

  ExchangeEnd run() {
    ExchangeEnd end;
    end.address = request_.url;
    if (!curl_ || !headers_ || !setUp()) {
      end.error = "The request could not be made";
      return end;
    }
    lastMove_ = Clock::now();
    const CURLcode code = curl_easy_perform(curl_.get());
    curl_easy_getinfo(curl_.get(), CURLINFO_RESPONSE_CODE, &end.status);
    end.bytesReceived = received_;
    end.error = errorOf(code);
    return end;
  }

  std::string takeBody() { return std::move(body_); }

 private:
  struct CurlDeleter {
    void operator()(CURL* curl) const { curl_easy_cleanup(curl); }
  };
  struct ListDeleter {
    void operator()(curl_slist* list) const { curl_slist_free_all(list); }
  };
  using HeaderList = std::unique_ptr<curl_slist, ListDeleter>;

  // A name without a value keeps libcurl from sending the header.
  static HeaderList withoutHeaders() {
    HeaderList list;
    for (const char* name :
         {"Accept:", "Content-Type:", "Expect:", "User-Agent:", "Proxy-Connection:"}) {
      curl_slist* const longer = curl_slist_append(list.get(), name);
      if (longer == nullptr) return nullptr;
      static_cast<void>(list.release());
      list.reset(longer);
    }
    return list;
  }

  template <typename T>
  bool set(CURLoption option, T value) {
    return curl_easy_setopt(curl_.get(), option, value) == CURLE_OK;
  }

  bool setUp() { return setMethod() && setRules() && setCallbacks(); }

  bool setMethod() {
    if (!set(CURLOPT_URL, request_.url.c_str())) return false;
    if (request_.method == "GET") return set(CURLOPT_HTTPGET, 1L);
    return request_.method == "POST" && set(CURLOPT_POST, 1L) &&
           set(CURLOPT_POSTFIELDSIZE_LARGE, static_cast<curl_off_t>(request_.body.size())) &&
           set(CURLOPT_POSTFIELDS, request_.body.data());
  }

  bool setRules() {
    return set(CURLOPT_PROTOCOLS_STR, "http,https") &&
           set(CURLOPT_REDIR_PROTOCOLS_STR, "http,https") && set(CURLOPT_FOLLOWLOCATION, 1L) &&
           set(CURLOPT_MAXREDIRS, 20L) && set(CURLOPT_POSTREDIR, 0L) &&
           set(CURLOPT_HTTPHEADER, headers_.get()) && set(CURLOPT_HTTP_CONTENT_DECODING, 0L) &&
           set(CURLOPT_SUPPRESS_CONNECT_HEADERS, 1L) && set(CURLOPT_NOSIGNAL, 1L) &&
           set(CURLOPT_ERRORBUFFER, errorText_.data());
  }

  bool setCallbacks() {
    return set(CURLOPT_WRITEFUNCTION, &Exchange::onBody) && set(CURLOPT_WRITEDATA, this) &&
           set(CURLOPT_HEADERFUNCTION, &Exchange::onHeader) && set(CURLOPT_HEADERDATA, this) &&
           set(CURLOPT_XFERINFOFUNCTION, &Exchange::onProgress) &&
           set(CURLOPT_XFERINFODATA, this) && set(CURLOPT_NOPROGRESS, 0L) &&
           set(CURLOPT_PREREQFUNCTION, &Exchange::onConnected) && set(CURLOPT_PREREQDATA, this) &&
           set(CURLOPT_OPENSOCKETFUNCTION, &openSocket);
  }

  static size_t onBody(char* bytes, size_t, size_t count, void* self) {
    return static_cast<Exchange*>(self)->addBody({bytes, count}) ? count : 0;
  }

  bool addBody(std::string_view bytes) {
    lastMove_ = Clock::now();
    received_ += static_cast<int64_t>(bytes.size());
    if (bytes.size() > limits_.bodyBytes - body_.size()) {
      refusal_ = "The answer is larger than " + std::to_string(limits_.bodyBytes) + " bytes";
      return false;
    }
    try {
      body_.append(bytes);
    } catch (const std::bad_alloc&) {  // it must not pass through libcurl
      refusal_ = "There is no memory for the answer";
      return false;
    }
    return true;
  }

  static size_t onHeader(char* bytes, size_t, size_t count, void* self) {
    static_cast<Exchange*>(self)->addHeaderLine({bytes, count});
    return count;
  }

  void addHeaderLine(std::string_view line) {
    lastMove_ = Clock::now();
    if (line.starts_with("HTTP/")) headIsWhole_ = false;
    if (line == "\r\n" || line == "\n") headIsWhole_ = true;
  }

  static int onConnected(void* self, char*, char*, int, int) {
    static_cast<Exchange*>(self)->lastMove_ = Clock::now();
    return CURL_PREREQFUNC_OK;
  }

  static int onProgress(void* self, curl_off_t, curl_off_t, curl_off_t, curl_off_t sent) {
    return static_cast<Exchange*>(self)->isIdleTooLong(sent) ? 1 : 0;
  }

  bool isIdleTooLong(curl_off_t sent) {
    const auto now = Clock::now();
    if (sent != sent_) lastMove_ = now;
    sent_ = sent;
    if (now - lastMove_ < limits_.idle) return false;
    refusal_ = "Timed out: nothing moved for too long";
    return true;
  }

  std::optional<std::string> errorOf(CURLcode code) const {
    if (!refusal_.empty()) return refusal_;
    if (code != CURLE_OK) {
      return errorText_[0] != '\0' ? errorText_.data() : curl_easy_strerror(code);
    }
    // libcurl is content with a connection that ends inside the head.
    if (!headIsWhole_) return "The answer ended inside its head";
    return std::nullopt;
  }

  const URLRequest& request_;
  const CurlConnection::Limits& limits_;
  std::array<char, CURL_ERROR_SIZE> errorText_{};
  const HeaderList headers_ = withoutHeaders();
  const std::unique_ptr<CURL, CurlDeleter> curl_{curl_easy_init()};

  std::string body_;
  int64_t received_ = 0;
  curl_off_t sent_ = 0;
  bool headIsWhole_ = false;
  std::string refusal_;
  Clock::time_point lastMove_;
};

}  // namespace

CurlConnection::CurlConnection(Ended ended, Limits limits)
    : ended_(std::move(ended)), limits_(limits) {
  prepareProcess();
}

std::optional<std::string> CurlConnection::sendSynchronousRequest(const URLRequest& request) {
  Exchange exchange(request, limits_);
  const ExchangeEnd end = exchange.run();
  if (ended_) ended_(end);
  if (end.error) return std::nullopt;
  return exchange.takeBody();
}

}  // namespace revwarden
