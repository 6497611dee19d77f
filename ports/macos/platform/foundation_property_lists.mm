#import "ports/macos/platform/foundation_property_lists.h"

#import <Foundation/Foundation.h>

#import "ports/macos/platform/exception_guard.h"
#import "ports/macos/platform/foundation_values.h"
#import "ports/macos/platform/retained.h"

namespace revwarden {

std::optional<Value> FoundationPropertyLists::propertyListFromData(std::string_view bytes) const {
  const AutoreleasePool pool;
  NSData* const data = [NSData dataWithBytes:bytes.data() length:bytes.size()];
  return valueOf(KQRWPropertyListFromData(data));
}

}  // namespace revwarden
