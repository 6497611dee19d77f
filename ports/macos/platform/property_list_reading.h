#pragma once

#import <Foundation/Foundation.h>

#ifdef __cplusplus
extern "C" {
#endif

/// The immutable property list in `data`, in any of its forms; nil when there is none.
id KQRWPropertyListFromData(NSData* data);

#ifdef __cplusplus
}
#endif
