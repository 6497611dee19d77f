#import "ports/macos/platform/shared_log.h"

#include "base/text.h"
#import "ports/macos/platform/foundation_values.h"
#import "ports/macos/platform/retained.h"
#import "ports/macos/platform/shared_utils.h"

namespace revwarden {

void SharedLog::NSLog(std::string_view format, const Arguments& arguments) {
  const AutoreleasePool pool;
  ::NSLog(@"%@", foundationText(formatted(format, arguments)));
}

void SharedLog::KQLog(std::string_view format, const Arguments& arguments) {
  const AutoreleasePool pool;
  ::KQLog(@"%@", foundationText(formatted(format, arguments)));
}

}  // namespace revwarden
