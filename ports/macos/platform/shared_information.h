#pragma once

#include "platform/system_information.h"

namespace revwarden {

/// What the shared library knows of the machine and its applications.
class SharedSystemInformation final : public KQSystemInformation {
 public:
  std::vector<std::string> allApplicationsPaths() override;
  std::optional<std::string> computerSerialNumber() const override;
  std::string systemVersionString() const override;
  bool isPowerPC() const override;
  bool is64BitCapable() const override;
};

/// What the shared library knows of the product.
class SharedProductInformation final : public KQProductInformation {
 public:
  std::string URLWithScheme_service_path(std::string_view scheme, std::string_view service,
                                         std::string_view path) const override;
  std::string productName() const override;
};

}  // namespace revwarden
