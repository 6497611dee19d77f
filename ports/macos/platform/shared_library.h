#pragma once

#include <memory>
#include <utility>

#include "platform/helper.h"
#include "platform/localization.h"
#include "platform/log.h"
#include "platform/system_information.h"
#include "platform/version.h"

// The platform as far as the product's shared library (shared_utils.h) provides it.
namespace revwarden {

struct AgentReference;

/// The system log, and the product's log in the shared library.
class SharedLog final : public Log {
 public:
  void NSLog(std::string_view format, const Arguments& arguments) override;
  void KQLog(std::string_view format, const Arguments& arguments) override;
};

/// Localized texts from the bundle of the agent's class.
class SharedLocalization final : public Localization {
 public:
  explicit SharedLocalization(std::shared_ptr<const AgentReference> agent)
      : agent_(std::move(agent)) {}

  std::string KQLocalizedString(std::string_view key) const override;
  /// Main thread.
  std::string KQLocalizedNumberStringWithFormat(std::string_view format, uint32_t count,
                                                std::string_view text) const override;

 private:
  const std::shared_ptr<const AgentReference> agent_;
};

/// Facts about the machine and its applications.
class SharedSystemInformation final : public KQSystemInformation {
 public:
  std::vector<std::string> allApplicationsPaths() override;
  std::optional<std::string> computerSerialNumber() const override;
  std::string systemVersionString() const override;
  bool isPowerPC() const override;
  bool is64BitCapable() const override;
};

/// Facts about the product.
class SharedProductInformation final : public KQProductInformation {
 public:
  std::string URLWithScheme_service_path(std::string_view scheme, std::string_view service,
                                         std::string_view path) const override;
  std::string productName() const override;
};

/// Versions and their order.
class SharedVersions final : public Versions {
 public:
  VersionRef versionWithValue(const Value* value) const override;
  VersionRef betterVersionOfShort_andFull(const VersionRef& shortVersion,
                                          const VersionRef& fullVersion) const override;
};

/// Privileged helpers.
class SharedHelpers final : public KQHelperManager {
 public:
  Result<std::shared_ptr<KQHelperTask>> rootTaskWithPrompt(std::string_view prompt) override;
};

}  // namespace revwarden
