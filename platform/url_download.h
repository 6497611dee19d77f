#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace revwarden {

/// Why a download failed; either text may be missing.
struct URLDownloadError {
  std::string code = "connection";  // or "noSpace", "notWritable": the file, not the network
  std::optional<std::string> localizedFailureReason;
  std::optional<std::string> localizedDescription;
};

/// The response that carries the body of a download.
struct URLDownloadResponse {
  /// Without parameters, its letters as the server sent them; "application/octet-stream" if the
  /// server sent none.
  std::string mimeType;
  int64_t expectedLength = -1;  // of the body in bytes; -1 when the server does not send it
  int status = 200;             // HTTP status
};

/// Receives the events of a download, all on the thread that runs it, in the order: response,
/// destination, data, then exactly one of finish and failure, unless it is cancelled first.
class URLDownloadDelegate {
 public:
  virtual ~URLDownloadDelegate() = default;

  /// The response that carries the body began. Redirects are followed without an event; the status
  /// is not judged.
  virtual void download_didReceiveResponse(const URLDownloadResponse& response) = 0;

  /// The full path to write to; a file there is overwritten, missing folders above it are made. The
  /// suggested name is a single path component that is neither empty nor "." nor ".."; absent when
  /// the server suggests none.
  virtual std::string download_decideDestinationWithSuggestedFilename(
      const std::optional<std::string>& name) = 0;

  /// `length` further bytes were written.
  virtual void download_didReceiveDataOfLength(int64_t length) = 0;

  /// The file is whole and closed.
  virtual void downloadDidFinish() = 0;

  /// The transfer failed and its file was removed.
  virtual void download_didFailWithError(const URLDownloadError& error) = 0;
};

/// One running download; it belongs to the thread that began it. Destroying it stops the transfer
/// and removes the file unless that is finished.
class URLDownload {
 public:
  virtual ~URLDownload() = default;

  /// Waits, with no time limit of its own, for the next event of the network and delivers it to the
  /// delegate. False, at once, when the transfer is over.
  virtual bool runOneTurn() = 0;
};

/// Begins downloads. Any thread.
class URLDownloads {
 public:
  virtual ~URLDownloads() = default;

  /// Begins to fetch an http or https address; anything else fails as a failing transfer does. No
  /// event is delivered before the first turn. `delegate` must outlive the download.
  virtual std::unique_ptr<URLDownload> beginDownload(const std::string& url,
                                                     URLDownloadDelegate& delegate) = 0;
};

}  // namespace revwarden
