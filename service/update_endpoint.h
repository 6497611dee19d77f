#pragma once

#include <httplib.h>

#include <optional>
#include <string>
#include <string_view>

#include "platform/xml_document.h"
#include "service/catalogue.h"

namespace revwarden {

/// "/api/update": tells what the catalogue holds for the applications that a request asks about.
class UpdateEndpoint {
 public:
  static constexpr size_t kLargestRequest = size_t{64} << 20;

  /// `ownAddress` ("host:port") stands in for a request's Host that is missing or makes no sense.
  /// Catalogue and documents must outlive the endpoint, and the endpoint the server that it is
  /// added to.
  UpdateEndpoint(Catalogue& catalogue, const XmlDocuments& documents, std::string ownAddress);

  /// Serves POST; refuses a body that is no request (400) or is larger than `kLargestRequest`
  /// (413).
  void addTo(httplib::Server& server);

  /// The answer to a request's body: one "item" for each application asked about whose bundle
  /// identifier the catalogue knows, in the order of the request. A relative "download_link" leads
  /// to `host`. Absent when the body is no request. Any thread.
  std::optional<std::string> answer(std::string_view body, std::string_view host) const;

 private:
  void serve(const httplib::Request& request, httplib::Response& response,
             const httplib::ContentReader& reader) const;

  Catalogue& catalogue_;
  const XmlDocuments& documents_;
  const std::string ownAddress_;
};

}  // namespace revwarden
