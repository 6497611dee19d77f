#pragma once

#import <Foundation/Foundation.h>

#include <functional>
#include <memory>
#include <utility>

#include "platform/host_application.h"

namespace revwarden {

/// The agent application that has loaded the plug-in: the delegate of the application object.
class HostAgent final : public HostApplication, public HostJobSupport {
 public:
  /// The Objective-C object that receives a notice's actions on behalf of a target. Notices do not
  /// retain theirs, nor tell when they are gone: it must live as long as the agent.
  using TargetObject = std::function<id(const std::shared_ptr<NotificationTarget>& target)>;

  /// `userInterface` is the one protocol that the agent speaks with the host product.
  HostAgent(Protocol* userInterface, TargetObject targetObject)
      : userInterface_(userInterface), targetObject_(std::move(targetObject)) {}

  /// Nothing but what the agent sets is set: the application's own notice is asked for when the
  /// notice is shown, and its defaults stay.
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
