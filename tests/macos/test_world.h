#pragma once

#import <Foundation/Foundation.h>

/// Reports an event to the test. Any thread.
void sendEvent(NSString* event, id subject);

/// Returns a path in the scratch folder of the test.
NSString* worldPath(NSString* name);
