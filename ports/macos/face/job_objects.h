#pragma once

#import <Foundation/Foundation.h>

#include <memory>

#import "ports/macos/face/kqrw_app_updater.h"

namespace revwarden {

class KQRWAppUpdater;

/// A new Objective-C object that stands for a job as the target of a notice. It lives until the
/// process ends, and keeps the host product's job alive. Any thread.
::KQRWAppUpdater* objectForJob(const std::shared_ptr<KQRWAppUpdater>& job);

}  // namespace revwarden
