#pragma once

#include <string>
#include <vector>

#include "platform/system_information.h"

namespace revwarden {

/// The applications below the search folders, and what firmware, distribution and kernel say about
/// the machine.
class LinuxSystemInformation final : public KQSystemInformation {
 public:
  /// Where to read about the machine.
  struct Facts {
    std::string serialNumber = "/sys/class/dmi/id/product_serial";
    std::string machine = unameMachine();  // the kernel's name of the hardware, not a path
  };

  /// Search folders are full paths. A missing one contains no applications.
  explicit LinuxSystemInformation(std::vector<std::string> searchFolders);
  LinuxSystemInformation(std::vector<std::string> searchFolders, Facts facts);

  std::vector<std::string> allApplicationsPaths() override;
  std::optional<std::string> computerSerialNumber() const override;
  std::string systemVersionString() const override;
  bool isPowerPC() const override;
  bool is64BitCapable() const override;

 private:
  static std::string unameMachine();

  const std::vector<std::string> searchFolders_;
  const Facts facts_;
};

/// The product, with one host for all of the maker's services.
class ServiceProductInformation final : public KQProductInformation {
 public:
  /// `host` is HOST or HOST:PORT, as in an address.
  explicit ServiceProductInformation(std::string host) : host_(std::move(host)) {}

  std::string URLWithScheme_service_path(std::string_view scheme, std::string_view service,
                                         std::string_view path) const override;
  std::string productName() const override { return "Pellmark"; }

 private:
  const std::string host_;
};

}  // namespace revwarden
