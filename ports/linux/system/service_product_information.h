#pragma once

#include <string>

#include "platform/system_information.h"

namespace revwarden {

/// The facts of the product, with one host behind all of the maker's services.
class ServiceProductInformation final : public KQProductInformation {
 public:
  /// `host` is HOST or HOST:PORT, as it stands in an address.
  explicit ServiceProductInformation(std::string host);

  std::string URLWithScheme_service_path(std::string_view scheme, std::string_view service,
                                         std::string_view path) const override;
  std::string productName() const override;

 private:
  const std::string host_;
};

}  // namespace revwarden
