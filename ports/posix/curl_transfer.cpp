#include "ports/posix/curl_transfer.h"

#include <fcntl.h>
#include <sys/socket.h>

#include <algorithm>
#include <csignal>

namespace revwarden {
namespace {

void ignoreBrokenPipes() {
  struct sigaction current {};
  if (sigaction(SIGPIPE, nullptr, &current) == 0 && current.sa_handler == SIG_DFL) {
    std::signal(SIGPIPE, SIG_IGN);
  }
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

}  // namespace

// The result is ignored: after a failure curl_easy_init fails too.
void prepareCurl() {
  [[maybe_unused]] static const CURLcode prepared = [] {
    ignoreBrokenPipes();
    return curl_global_init(CURL_GLOBAL_DEFAULT);
  }();
}

// A name without a value keeps libcurl from sending the header.
CurlTransfer::HeaderList CurlTransfer::withoutHeaders() {
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

bool CurlTransfer::setUp(const std::string& url, const ProxyFor& proxyFor) {
  return curl_ && headers_ && set(CURLOPT_URL, url.c_str()) && setRules() && setCallbacks() &&
         setProxy(proxyFor ? proxyFor(url) : std::nullopt);
}

// A chosen proxy replaces the exceptions of the environment too, which are for its own proxies.
bool CurlTransfer::setProxy(const std::optional<std::string>& proxy) {
  return !proxy || (set(CURLOPT_PROXY, proxy->c_str()) && set(CURLOPT_NOPROXY, ""));
}

bool CurlTransfer::setRules() {
  return set(CURLOPT_PROTOCOLS_STR, "http,https") &&
         set(CURLOPT_REDIR_PROTOCOLS_STR, "http,https") && set(CURLOPT_FOLLOWLOCATION, 1L) &&
         set(CURLOPT_MAXREDIRS, 20L) && set(CURLOPT_HTTPHEADER, headers_.get()) &&
         set(CURLOPT_HTTP_CONTENT_DECODING, 0L) && set(CURLOPT_SUPPRESS_CONNECT_HEADERS, 1L) &&
         set(CURLOPT_NOSIGNAL, 1L) && set(CURLOPT_ERRORBUFFER, errorText_.data());
}

bool CurlTransfer::setCallbacks() {
  return set(CURLOPT_WRITEFUNCTION, &onBody) && set(CURLOPT_WRITEDATA, this) &&
         set(CURLOPT_HEADERFUNCTION, &onHeader) && set(CURLOPT_HEADERDATA, this) &&
         set(CURLOPT_PREREQFUNCTION, &onConnected) && set(CURLOPT_PREREQDATA, this) &&
         set(CURLOPT_OPENSOCKETFUNCTION, &openSocket);
}

size_t CurlTransfer::onBody(char* bytes, size_t, size_t count, void* self) {
  auto* const transfer = static_cast<CurlTransfer*>(self);
  transfer->moved();
  return transfer->takeBody({bytes, count});
}

size_t CurlTransfer::onHeader(char* bytes, size_t, size_t count, void* self) {
  static_cast<CurlTransfer*>(self)->addHeaderLine({bytes, count});
  return count;
}

void CurlTransfer::addHeaderLine(std::string_view line) {
  moved();
  if (line.starts_with("HTTP/")) isHeaderWhole_ = false;
  if (line != "\r\n" && line != "\n") return;
  isHeaderWhole_ = true;
  headEnded();
}

int CurlTransfer::onConnected(void* self, char*, char*, int, int) {
  static_cast<CurlTransfer*>(self)->moved();
  return CURL_PREREQFUNC_OK;
}

std::chrono::milliseconds CurlTransfer::idleTimeLeft() const {
  const auto idle = std::chrono::floor<std::chrono::milliseconds>(Clock::now() - lastMove_);
  return std::max(idle_ - idle, std::chrono::milliseconds(0));
}

Result<> CurlTransfer::resultOf(CURLcode code) const {
  constexpr char kCode[] = "connection";
  if (code == CURLE_UNSUPPORTED_PROTOCOL) {
    // libcurl takes a response without a header for HTTP 0.9, which it refuses.
    const bool isResponse =
        std::string_view(errorText_.data()).find("HTTP/0.9") != std::string::npos;
    return Error{kCode,
                 isResponse ? "The response is not HTTP" : "The address is neither http nor https"};
  }
  if (code == CURLE_URL_MALFORMAT) return Error{kCode, "The address is malformed"};
  if (code != CURLE_OK) {
    return Error{kCode, errorText_[0] != '\0' ? errorText_.data() : curl_easy_strerror(code)};
  }
  // libcurl reports success for a connection that ends inside the header.
  if (!isHeaderWhole_) return Error{kCode, "The response ended inside its header"};
  return {};
}

}  // namespace revwarden
