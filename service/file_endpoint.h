#pragma once

#include <httplib.h>

#include <memory>
#include <string>

namespace revwarden {

/// "/files/": the regular files below one folder, with lengths and single byte ranges.
///
/// Nothing outside the folder is served, whatever the path says and wherever links lead; links that
/// stay inside are followed. Any thread.
class FileEndpoint {
 public:
  /// nullptr, with the reason in `error`, when the folder cannot be opened.
  static std::unique_ptr<FileEndpoint> create(const std::string& folder, std::string& error);
  ~FileEndpoint();
  FileEndpoint(const FileEndpoint&) = delete;
  FileEndpoint& operator=(const FileEndpoint&) = delete;

  /// Serves GET and HEAD. The endpoint must outlive the server.
  void addTo(httplib::Server& server);

 private:
  explicit FileEndpoint(int folder) : folder_(folder) {}
  void serve(const httplib::Request& request, httplib::Response& response) const;

  const int folder_;
};

}  // namespace revwarden
