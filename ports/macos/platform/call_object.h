#pragma once

#import <Foundation/Foundation.h>

#include <functional>

/// Wraps a C++ function for timers, threads and notification centres, which call methods.
@interface KQRWCall : NSObject {
 @private
  void* function;
}
/// Runs the function. The object stays alive at least until the function returns.
- (void)run:(id)sender;
@end

namespace revwarden {

/// Returns an autoreleased object for `function`, which must not throw. The function is destroyed
/// with the object.
KQRWCall* callObject(std::function<void()> function);

}  // namespace revwarden
