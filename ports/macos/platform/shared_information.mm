#import "ports/macos/platform/shared_information.h"

#import "ports/macos/platform/foundation_values.h"
#import "ports/macos/platform/retained.h"
#import "ports/macos/platform/shared_utils.h"

namespace revwarden {

std::vector<std::string> SharedSystemInformation::allApplicationsPaths() {
  const AutoreleasePool pool;
  return textsOf([::KQSystemInformation allApplicationsPaths]);
}

std::optional<std::string> SharedSystemInformation::computerSerialNumber() const {
  const AutoreleasePool pool;
  return optionalTextOf([::KQSystemInformation computerSerialNumber]);
}

std::string SharedSystemInformation::systemVersionString() const {
  const AutoreleasePool pool;
  return textOf([::KQSystemInformation systemVersionString]);
}

bool SharedSystemInformation::isPowerPC() const {
  return [::KQSystemInformation isPowerPC];
}

bool SharedSystemInformation::is64BitCapable() const {
  return [::KQSystemInformation is64BitCapable];
}

std::string SharedProductInformation::URLWithScheme_service_path(std::string_view scheme,
                                                                 std::string_view service,
                                                                 std::string_view path) const {
  const AutoreleasePool pool;
  NSURL* const url = [::KQProductInformation URLWithScheme:foundationText(scheme)
                                                   service:foundationText(service)
                                                      path:foundationText(path)];
  return textOf([url absoluteString]);
}

std::string SharedProductInformation::productName() const {
  return textOf(kKQProductName);
}

}  // namespace revwarden
