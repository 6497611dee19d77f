#pragma once

#include <string>
#include <vector>

#include "platform/system_information.h"

namespace revwarden {

/// The applications below the search folders, and the facts that the firmware, the distribution and
/// the kernel tell of the machine.
class LinuxSystemInformation final : public KQSystemInformation {
 public:
  /// Where the facts of the machine are read.
  struct Facts {
    std::string serialNumber = "/sys/class/dmi/id/product_serial";
    std::vector<std::string> systemReleases = {"/etc/os-release", "/usr/lib/os-release"};
    std::string machine = unameMachine();  // the kernel's name of the hardware, not a path
  };

  /// Search folders are full paths; one that is missing holds no applications.
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

}  // namespace revwarden
