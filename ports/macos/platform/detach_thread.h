#pragma once

#import <Foundation/Foundation.h>

#ifdef __cplusplus
extern "C" {
#endif

/// Sends `selector` to `target`, which is retained meanwhile, on a new thread, with nil as the
/// argument. NO, with nothing sent, when the system can make no further thread.
BOOL KQRWDetachThread(SEL selector, id target);

#ifdef __cplusplus
}
#endif
