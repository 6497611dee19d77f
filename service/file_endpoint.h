#pragma once

#include <httplib.h>

#include <memory>
#include <string>

#include "base/result.h"
#include "ports/posix/file_descriptor.h"

namespace revwarden {

/// Serves the regular files below one folder at "/files/", with lengths and single byte ranges.
///
/// Never serves a file outside the folder: links are followed only while they stay inside. Any
/// thread.
class FileEndpoint {
 public:
  /// Opens the folder; fails if that is not possible.
  static Result<std::unique_ptr<FileEndpoint>> create(const std::string& folder);

  /// Makes the server answer GET and HEAD. This object must outlive the server.
  void addTo(httplib::Server& server);

 private:
  explicit FileEndpoint(FileDescriptor folder) : folder_(std::move(folder)) {}
  void serve(const httplib::Request& request, httplib::Response& response) const;

  const FileDescriptor folder_;
};

}  // namespace revwarden
