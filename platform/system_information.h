#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace revwarden {

/// The installed applications and the facts of the machine. Any thread.
class KQSystemInformation {
 public:
  virtual ~KQSystemInformation() = default;

  /// The full paths of all application bundles that the system knows to be installed, each once, in
  /// no particular order. Reads the disk anew each time. Paths that are not UTF-8 are left out.
  virtual std::vector<std::string> allApplicationsPaths() = 0;

  /// The machine's serial number; absent when it is unknown.
  virtual std::optional<std::string> computerSerialNumber() const = 0;

  /// The operating system and its version, for people.
  virtual std::string systemVersionString() const = 0;

  virtual bool isPowerPC() const = 0;
  virtual bool is64BitCapable() const = 0;
};

/// The facts of the product that the agent belongs to. Any thread.
class KQProductInformation {
 public:
  virtual ~KQProductInformation() = default;

  /// The address of a path on the host that stands behind one of the maker's services ("updater").
  virtual std::string URLWithScheme_service_path(std::string_view scheme, std::string_view service,
                                                 std::string_view path) const = 0;

  /// The name of the product, for people (`kKQProductName`).
  virtual std::string productName() const = 0;
};

}  // namespace revwarden
