#pragma once

#import <Foundation/Foundation.h>

/// Has the test hear of something that happened. Any thread.
void tell(NSString* event, id subject);

/// A place in the scratch home that the test has made.
NSString* worldPath(NSString* name);
