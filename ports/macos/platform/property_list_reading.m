#import "ports/macos/platform/property_list_reading.h"

// By itself in a file of Objective-C: on some input a reader raises instead of answering nil.
id KQRWPropertyListFromData(NSData* data) {
  @try {
    return [NSPropertyListSerialization propertyListWithData:data
                                                     options:NSPropertyListImmutable
                                                      format:NULL
                                                       error:NULL];
  } @catch (NSException* failure) {
    return nil;
  }
}
