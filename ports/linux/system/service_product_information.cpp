#include "ports/linux/system/service_product_information.h"

#include <utility>

namespace revwarden {

ServiceProductInformation::ServiceProductInformation(std::string host) : host_(std::move(host)) {}

std::string ServiceProductInformation::URLWithScheme_service_path(std::string_view scheme,
                                                                  std::string_view,
                                                                  std::string_view path) const {
  std::string url(scheme);
  url.append("://").append(host_);
  if (path.empty() || path.front() != '/') url += '/';
  return url.append(path);
}

std::string ServiceProductInformation::productName() const {
  return "Pellmark";
}

}  // namespace revwarden
