#include "check/check_schedule.h"

#include <optional>

#include "catalogue/agent_settings.h"
#include "platform/clock.h"
#include "platform/platform.h"

namespace revwarden {
namespace {

constexpr double kSecondsBetweenChecks = 86400;

}  // namespace

void CheckSchedule::scheduleNextUpdate() {
  scheduleTimer_.reset();
  const std::optional<Date> last = settings_.lastFireDate();
  const Date due =
      last ? Date{last->secondsSince1970 + kSecondsBetweenChecks} : platform_.clock.now();
  // Intentional: without a minimum interval. A refresh that runs no check leaves the date as it is,
  // so as long as that date has passed, each refresh is followed by the next.
  scheduleTimer_ =
      platform_.mainLoop.addTimer(due, [this, weakAgent = mediator_.weakAgentReference()] {
        if (const std::shared_ptr<void> agent = weakAgent.lock()) {
          mediator_.startUpdateApplicationsList();
        }
      });
}

}  // namespace revwarden
