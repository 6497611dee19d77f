#pragma once

#import <Foundation/Foundation.h>

#include <memory>

#import "ports/macos/face/kqrw_app_updater.h"

namespace revwarden {

class KQRWAppUpdater;

/// The Objective-C object that stands for a job and keeps it alive; one object for each job, which
/// lives until the process ends. Any thread.
::KQRWAppUpdater* objectForJob(std::shared_ptr<KQRWAppUpdater> job);

}  // namespace revwarden
