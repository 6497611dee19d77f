#pragma once

#import <Foundation/Foundation.h>

#include <memory>

#import "ports/macos/face/kqrw_app_updater.h"

namespace revwarden {

class KQRWAppUpdater;

/// Returns a new Objective-C object that represents `job` as the target of a notice. It lives until
/// the process ends. If `job` is the host product's, the object keeps it alive. Any thread.
::KQRWAppUpdater* objectForJob(const std::shared_ptr<KQRWAppUpdater>& job);

}  // namespace revwarden
