#import "ports/macos/platform/shared_localization.h"

#import "ports/macos/platform/agent_reference.h"
#import "ports/macos/platform/foundation_values.h"
#import "ports/macos/platform/retained.h"
#import "ports/macos/platform/shared_utils.h"

namespace revwarden {

std::string SharedLocalization::KQLocalizedString(std::string_view key) const {
  const AutoreleasePool pool;
  return textOf(_KQLocalizedString(agent_->agentClass, foundationText(key)));
}

std::string SharedLocalization::KQLocalizedNumberStringWithFormat(std::string_view format,
                                                                  uint32_t count,
                                                                  std::string_view text) const {
  const AutoreleasePool pool;
  const id owner = agent_->agent ? agent_->agent : agent_->agentClass;
  return textOf(_KQLocalizedNumberStringWithFormat(owner, foundationText(format), count,
                                                   foundationText(text)));
}

}  // namespace revwarden
