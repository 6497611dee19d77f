#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace revwarden {

/// The installed applications and properties of the machine. Any thread.
class KQSystemInformation {
 public:
  virtual ~KQSystemInformation() = default;

  /// Returns the full path of every installed application bundle that the system knows, each once,
  /// in any order. Reads the disk on every call. Omits paths that are not UTF-8.
  virtual std::vector<std::string> allApplicationsPaths() = 0;

  /// Returns the serial number of the machine; absent if it is unknown.
  virtual std::optional<std::string> computerSerialNumber() const = 0;

  /// Returns the name and version of the operating system as text for the user.
  virtual std::string systemVersionString() const = 0;

  /// Returns true if the processor is a PowerPC.
  virtual bool isPowerPC() const = 0;

  /// Returns true if the processor can run 64-bit programs.
  virtual bool is64BitCapable() const = 0;
};

/// Properties of the product that the agent belongs to. Any thread.
class KQProductInformation {
 public:
  virtual ~KQProductInformation() = default;

  /// Returns the URL of `path` on the host of one of the vendor's services ("updater").
  virtual std::string URLWithScheme_service_path(std::string_view scheme, std::string_view service,
                                                 std::string_view path) const = 0;

  /// Returns the name of the product (`kKQProductName`).
  virtual std::string productName() const = 0;
};

}  // namespace revwarden
