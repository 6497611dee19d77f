#include "catalogue/job_action.h"

#include <array>
#include <cstddef>

namespace revwarden {

SimpleAction simpleAction(JobAction action) {
  using enum SimpleAction;
  static constexpr std::array kByAction = {
      idle,         // made
      starting,     // starting
      failed,       // noConnection
      done,         // handedToBrowser
      downloading,  // downloading
      done,         // downloaded
      installing,   // unpacking
      installing,   // mounting
      installing,   // searching
      installing,   // copying
      done,         // done
      done,         // 11, which no job uses
      failed,       // failed
  };
  const auto code = static_cast<uint64_t>(action);
  return code < kByAction.size() ? kByAction[code] : idle;
}

}  // namespace revwarden
