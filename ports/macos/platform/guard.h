#pragma once

#import <Foundation/Foundation.h>

#ifdef __cplusplus
extern "C" {
#endif

/// An autoreleased proxy that passes every message on to `object`, which it retains, and ends an
/// exception there: it is logged, and the message answers zero or nil. For objects that may stand
/// in another process, which may be gone; no exception may pass through C++. nil for nil.
id KQRWGuarded(id object);

#ifdef __cplusplus
}
#endif
