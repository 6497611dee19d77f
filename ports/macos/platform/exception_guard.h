#pragma once

#import <Foundation/Foundation.h>

// Ends Objective-C exceptions, which must not pass through C++ frames. Any thread.

#ifdef __cplusplus
extern "C" {
#endif

/// Returns an autoreleased proxy that retains `object` and forwards every message to it. If the
/// receiver raises an exception, for instance because its process is gone, the proxy logs it and
/// returns zero or nil. Returns nil for nil.
id KQRWGuarded(id object);

/// Sends `selector` to `target` on a new thread, with nil as the argument. Retains `target` until
/// the thread ends. Returns NO if the system cannot create a thread.
BOOL KQRWDetachThread(SEL selector, id target);

/// Returns the immutable property list in `data`, in any of its formats; nil if there is none.
id KQRWPropertyListFromData(NSData* data);

#ifdef __cplusplus
}
#endif
