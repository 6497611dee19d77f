#pragma once

#import <Foundation/Foundation.h>

#include <functional>

/// A C++ function for those who send messages: timers, threads, notification centres.
@interface KQRWCall : NSObject {
 @private
  void* function;
}
/// Runs the function. The object lives at least until that has ended.
- (void)run:(id)sender;
@end

namespace revwarden {

/// Autoreleased. The function must not throw, and is destroyed with the object.
KQRWCall* callObject(std::function<void()> function);

}  // namespace revwarden
