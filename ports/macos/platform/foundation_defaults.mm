#import "ports/macos/platform/foundation_defaults.h"

#import <Foundation/Foundation.h>

#import "ports/macos/platform/foundation_values.h"
#import "ports/macos/platform/retained.h"

namespace revwarden {

std::optional<Dictionary> FoundationDefaults::dictionaryForKey(std::string_view key) {
  const AutoreleasePool pool;
  NSDictionary* const stored =
      [[NSUserDefaults standardUserDefaults] dictionaryForKey:foundationText(key)];
  if (!stored) return std::nullopt;
  return dictionaryOf(stored);
}

void FoundationDefaults::setDictionary(const Dictionary& dictionary, std::string_view key) {
  const AutoreleasePool pool;
  [[NSUserDefaults standardUserDefaults] setObject:foundationDictionary(dictionary)
                                            forKey:foundationText(key)];
}

bool FoundationDefaults::synchronize() {
  const AutoreleasePool pool;
  return [[NSUserDefaults standardUserDefaults] synchronize];
}

}  // namespace revwarden
