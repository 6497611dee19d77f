#pragma once

#include <httplib.h>

#include <optional>
#include <string>
#include <string_view>

#include "platform/xml_document.h"
#include "service/catalogue.h"

namespace revwarden {

/// Answers update requests at "/api/update" from the catalogue.
class UpdateEndpoint {
 public:
  /// In bytes.
  static constexpr size_t kLargestRequest = size_t{64} << 20;

  /// `ownAddress` ("host:port") is used for relative links if the Host header of a request is
  /// missing or malformed. `catalogue` and `documents` must outlive this object.
  UpdateEndpoint(Catalogue& catalogue, const XmlDocuments& documents, std::string ownAddress);

  /// Makes the server answer POST. Refuses a body that is not an update request (400) or is larger
  /// than `kLargestRequest` (413). This object must outlive the server.
  void addTo(httplib::Server& server);

  /// Returns the answer to a request: one "item" for each requested application whose bundle
  /// identifier is in the catalogue, in the order of the request. A relative "download_link" is
  /// completed with `host`. Absent if `body` is not an update request. Any thread.
  std::optional<std::string> answer(std::string_view body, std::string_view host) const;

 private:
  void serve(const httplib::Request& request, httplib::Response& response,
             const httplib::ContentReader& reader) const;

  Catalogue& catalogue_;
  const XmlDocuments& documents_;
  const std::string ownAddress_;
};

}  // namespace revwarden
