#pragma once

#import <Foundation/Foundation.h>

#include <functional>
#include <memory>
#include <utility>

#include "platform/host_application.h"

namespace revwarden {

/// The agent application that loaded the plug-in: the delegate of the application object.
class HostAgent final : public HostApplication, public HostJobSupport {
 public:
  /// Returns the Objective-C object that receives the actions of a notice for `target`. A notice
  /// does not retain it and does not report when it closes, so the object must live as long as the
  /// agent.
  using TargetObject = std::function<id(const std::shared_ptr<NotificationTarget>& target)>;

  /// `userInterface` is the protocol of the host product's object; no other is known.
  HostAgent(Protocol* userInterface, TargetObject targetObject)
      : userInterface_(userInterface), targetObject_(std::move(targetObject)) {}

  /// Returns a notice without any field. Fields that the agent does not set keep the defaults of
  /// the application, whose own notice object is created in `showNotification`.
  HostNotification notificationInstance() override { return {}; }
  void showNotification(const HostNotification& notification) override;
  std::optional<std::string> hostAppPath() override;
  std::shared_ptr<HostAppProxy> hostAppProxyWithTargetId_protocol(
      std::string_view targetId, std::string_view protocolName) override;

  void activateHostApp() override;
  std::shared_ptr<NotificationTarget> notificationTarget() override;
  std::shared_ptr<KQUninstallerAgent> instanceWithClassName(std::string_view name) override;

 private:
  Protocol* const userInterface_;
  const TargetObject targetObject_;
};

}  // namespace revwarden
