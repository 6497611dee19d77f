#include "ports/posix/curl_downloads.h"

#include <optional>
#include <utility>

#include "base/text.h"
#include "ports/posix/curl_transfer.h"
#include "ports/posix/downloaded_file.h"
#include "ports/posix/suggested_filename.h"

namespace revwarden {
namespace {

constexpr long kReceiveBuffer = 512L << 10;

// The limit of one turn. From a server that is faster than the disk, libcurl would take a hundred
// buffers at a time.
constexpr int64_t kBytesOfATurn = int64_t{4} << 20;

bool isHttp(const std::string& url) {
  const std::string upper = asciiUpperCase(url.substr(0, 8));
  return upper.starts_with("HTTP://") || upper == "HTTPS://";
}

/// Each turn delivers one event, so that the delegate can stop after any of them. The delegate is
/// called outside libcurl.
class CurlDownload final : public URLDownload, CurlTransfer {
 public:
  CurlDownload(const std::string& url, URLDownloadDelegate& delegate,
               const CurlDownloads::Limits& limits, const ProxyFor& proxyFor)
      : CurlTransfer(limits.idle), delegate_(delegate) {
    if (!isHttp(url)) {
      fail(resultOf(CURLE_UNSUPPORTED_PROTOCOL));
    } else if (!multi_ || !setUp(url, proxyFor) || !set(CURLOPT_BUFFERSIZE, kReceiveBuffer) ||
               curl_multi_add_handle(multi_.get(), curl()) != CURLM_OK) {
      fail(Error{"connection", "Cannot prepare the download"});
    }
  }

  ~CurlDownload() override { curl_multi_remove_handle(multi_.get(), curl()); }

  bool runOneTurn() override {
    if (stage_ == Stage::over) return false;
    for (bool isReady = true; !deliverEvent(); isReady = false) {
      if (!isReady) wait();
      transfer();
    }
    moved();
    return true;
  }

 private:
  enum class Stage { beforeResponse, beforeDestination, data, over };

  struct MultiDeleter {
    void operator()(CURLM* multi) const { curl_multi_cleanup(multi); }
  };

  bool deliverEvent() {
    if (newBytes_ > 0) return tellData();
    if (error_) return tellFailure();
    if (stage_ == Stage::beforeResponse) return hasResponse_ && tellResponse();
    if (stage_ == Stage::beforeDestination) return askDestination();
    return isComplete_ && finish();
  }

  bool tellResponse() {
    const std::string type = header("Content-Type");
    const std::string_view bare = trimmingSpaces(std::string_view(type).substr(0, type.find(';')));
    stage_ = Stage::beforeDestination;
    delegate_.download_didReceiveResponse(
        {.mimeType = std::string(bare.empty() ? "application/octet-stream" : bare),
         .expectedLength = expectedLength(),
         .status = static_cast<int>(status())});
    return true;
  }

  bool askDestination() {
    const char* url = nullptr;
    curl_easy_getinfo(curl(), CURLINFO_EFFECTIVE_URL, &url);
    const auto name = suggestedFilename(header("Content-Disposition"), url ? url : "");
    stage_ = Stage::data;
    const std::string path = delegate_.download_decideDestinationWithSuggestedFilename(name);
    if (const Result<> created = file_.create(path, expectedLength()); !created) {
      failToWrite("Cannot create " + path, created.error());
    }
    return true;
  }

  bool tellData() {
    delegate_.download_didReceiveDataOfLength(std::exchange(newBytes_, 0));
    return true;
  }

  bool finish() {
    if (const Result<> finished = file_.finish(); !finished) {
      failToWrite("Cannot write " + file_.path(), finished.error());
      return tellFailure();
    }
    stage_ = Stage::over;
    delegate_.downloadDidFinish();
    return true;
  }

  bool tellFailure() {
    stage_ = Stage::over;
    file_.remove();
    delegate_.download_didFailWithError(*error_);
    return true;
  }

  /// Lets libcurl do what it can without waiting.
  void transfer() {
    if (stage_ == Stage::data && std::exchange(isPaused_, false)) {
      const CURLcode code = curl_easy_pause(curl(), CURLPAUSE_CONT);
      if (code != CURLE_OK) fail(resultOf(code));
    }
    int running = 0;
    const CURLMcode code = curl_multi_perform(multi_.get(), &running);
    checkMulti(code);
    if (running == 0) complete();
    if (idleTimeLeft().count() == 0) fail(Error{"connection", kIdleTooLong});
  }

  void complete() {
    int left = 0;
    const CURLMsg* const message = curl_multi_info_read(multi_.get(), &left);
    if (!message) return;
    fail(resultOf(message->data.result));
    hasResponse_ = isComplete_ = true;
  }

  void wait() {
    const auto limit = static_cast<int>(idleTimeLeft().count());
    checkMulti(curl_multi_poll(multi_.get(), nullptr, 0, limit, nullptr));
  }

  void checkMulti(CURLMcode code) {
    if (code != CURLM_OK) fail(Error{"connection", curl_multi_strerror(code)});
  }

  void headEnded() override { hasResponse_ = hasResponse_ || isHeadOfFile(); }

  /// Of the last response; -1 if it does not say.
  int64_t expectedLength() const {
    curl_off_t length = -1;
    curl_easy_getinfo(curl(), CURLINFO_CONTENT_LENGTH_DOWNLOAD_T, &length);
    return length;
  }

  /// Of the last response; 0 before the first.
  long status() const {
    long code = 0;
    curl_easy_getinfo(curl(), CURLINFO_RESPONSE_CODE, &code);
    return code;
  }

  bool isHeadOfFile() const {
    return status() >= 200 && (status() / 100 != 3 || header("Location").empty());
  }

  size_t takeBody(std::string_view bytes) override {
    hasResponse_ = true;
    if (stage_ != Stage::data) {
      isPaused_ = true;
      return CURL_WRITEFUNC_PAUSE;
    }
    if (const Result<> written = file_.write(bytes); !written) {
      failToWrite("Cannot write " + file_.path(), written.error());
      return 0;
    }
    newBytes_ += static_cast<int64_t>(bytes.size());
    if (newBytes_ >= kBytesOfATurn && !std::exchange(isPaused_, true)) {
      curl_easy_pause(curl(), CURLPAUSE_RECV);
    }
    return bytes.size();
  }

  /// Of the last response; "" if it has none of that name.
  std::string header(const char* name) const {
    curl_header* found = nullptr;
    if (curl_easy_header(curl(), name, 0, CURLH_HEADER, -1, &found) != CURLHE_OK) return "";
    return found->value;
  }

  /// Only the first failure is reported: the others follow from it.
  void fail(const Result<>& result) {
    if (!result && !error_) {
      error_ = URLDownloadError{result.error().code, std::nullopt, result.error().message};
    }
  }
  void failToWrite(std::string what, const Error& why) {
    if (!error_) error_ = URLDownloadError{why.code, why.message, std::move(what)};
  }

  URLDownloadDelegate& delegate_;
  const std::unique_ptr<CURLM, MultiDeleter> multi_{curl_multi_init()};
  DownloadedFile file_;
  Stage stage_ = Stage::beforeResponse;
  bool hasResponse_ = false;
  bool isPaused_ = false;    // until the next transfer()
  bool isComplete_ = false;  // libcurl is done with it
  int64_t newBytes_ = 0;
  std::optional<URLDownloadError> error_;
};

}  // namespace

CurlDownloads::CurlDownloads(Limits limits, ProxyFor proxyFor)
    : limits_(limits), proxyFor_(std::move(proxyFor)) {
  prepareCurl();
}

std::unique_ptr<URLDownload> CurlDownloads::beginDownload(const std::string& url,
                                                          URLDownloadDelegate& delegate) {
  return std::make_unique<CurlDownload>(url, delegate, limits_, proxyFor_);
}

}  // namespace revwarden
