#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace revwarden {

/// Why a download failed. Either text may be missing.
struct URLDownloadError {
  std::string code = "connection";  // or a file error: "noSpace", "notWritable"
  std::optional<std::string> localizedFailureReason;
  std::optional<std::string> localizedDescription;
};

/// The response that carries the body of a download.
struct URLDownloadResponse {
  /// The content type without parameters, in the letter case of the server;
  /// "application/octet-stream" if the server sent none.
  std::string mimeType;
  int64_t expectedLength = -1;  // length of the body in bytes; -1 if the server did not send it
  int status = 200;             // HTTP status
};

/// Receives the events of a download on the thread that runs it, in this order: response,
/// destination, data, then either finish or failure. No event follows a cancellation.
class URLDownloadDelegate {
 public:
  virtual ~URLDownloadDelegate() = default;

  /// The response that carries the body started. Redirects are followed without an event. Any HTTP
  /// status is accepted.
  virtual void download_didReceiveResponse(const URLDownloadResponse& response) = 0;

  /// Returns the full path to write to. A file there is overwritten; missing parent folders are
  /// created. `name` is the server's suggestion: one path component, not empty, "." or ".."; absent
  /// if there is none.
  virtual std::string download_decideDestinationWithSuggestedFilename(
      const std::optional<std::string>& name) = 0;

  /// Another `length` bytes were written.
  virtual void download_didReceiveDataOfLength(int64_t length) = 0;

  /// The file is complete and closed.
  virtual void downloadDidFinish() = 0;

  /// The transfer failed and its file was removed.
  virtual void download_didFailWithError(const URLDownloadError& error) = 0;
};

/// A running download. Only the thread that started it may use it. Destroying it stops the transfer
/// and removes the file, unless the file is complete.
class URLDownload {
 public:
  virtual ~URLDownload() = default;

  /// Waits, without a time limit of its own, for the next network event and delivers it to the
  /// delegate. Returns false immediately if the transfer has ended.
  virtual bool runOneTurn() = 0;
};

/// Starts downloads. Any thread.
class URLDownloads {
 public:
  virtual ~URLDownloads() = default;

  /// Starts to fetch an http or https URL and returns the download, never nullptr. Any other URL
  /// fails like a broken transfer. No event is delivered before the first turn. `delegate` must
  /// outlive the download.
  virtual std::unique_ptr<URLDownload> beginDownload(const std::string& url,
                                                     URLDownloadDelegate& delegate) = 0;
};

}  // namespace revwarden
