#include <algorithm>
#include <csignal>

#include "catalogue/record_keys.h"
#include "cli/commands.h"
#include "cli/progress_display.h"
#include "cli/update_jobs.h"
#include "protocol/names.h"

// The commands "update" and "cancel". An interrupt ends only the display; the agent goes on with
// the jobs.
namespace revwarden {
namespace {

constexpr std::chrono::milliseconds kTurn{100};

volatile std::sig_atomic_t interrupted = 0;

// While it exists, the first interrupt from the terminal sets `interrupted` instead of ending the
// process.
class InterruptWatch {
 public:
  InterruptWatch() {
    struct sigaction noting {};
    noting.sa_handler = [](int) { interrupted = 1; };
    noting.sa_flags = static_cast<int>(SA_RESETHAND | SA_RESTART);
    sigaction(SIGINT, nullptr, &before_);
    if (before_.sa_handler != SIG_IGN) sigaction(SIGINT, &noting, nullptr);
  }
  ~InterruptWatch() { sigaction(SIGINT, &before_, nullptr); }
  InterruptWatch(const InterruptWatch&) = delete;
  InterruptWatch& operator=(const InterruptWatch&) = delete;

 private:
  struct sigaction before_ {};
};

// One request for updates, until the outcome of each is known.
class UpdateRun {
 public:
  UpdateRun(CommandContext& context, const std::vector<Json>& records)
      : context_(context), ids_(idsOf(records)), jobs_(records) {}

  int run() {
    if (!request()) return interrupted ? leave() : kFailed;
    while (!jobs_.allEnded()) {
      if (!context_.json) display_.show(jobs_.jobs());
      if (interrupted) return leave();
      if (outputIsLost()) return kFailed;
      hearNext();
    }
    return report();
  }

 private:
  bool request() {
    WaitingLine waiting;
    const auto patience = [&] {
      waiting.show("Waiting for the agent, which may be asking for administrator rights");
      return !interrupted;
    };
    AgentSession& agent = context_.agent;
    if (!agent.call(methods::kStartUpdateItems, Json::array({ids_}), patience)) return false;
    auto status = agent.call(methods::kHostStatus, Json::array(), patience);
    if (!status) return false;
    for (const AgentEvent& event : agent.connection().takeEvents()) hear(event);
    jobs_.requestReturned(status->is_object() ? (*status)[status::kOpenJobs] : Json());
    return true;
  }

  void hear(const AgentEvent& event) {
    jobs_.hear(event);
    if (context_.json) print(eventJson(event));
  }

  void hearNext() {
    const auto next = context_.agent.connection().nextEvent(kTurn);
    if (next && *next) hear(**next);
    if (next) return;
    display_.clear();
    complain(next.error().message);
    jobs_.agentEnded();
  }

  int leave() {
    display_.clear();
    complain(
        "Interrupted. The agent continues with what is in the queue:\n"
        "\"revwarden watch\" shows it, \"revwarden cancel --all\" cancels it.");
    return kInterrupted;
  }

  int report() {
    if (!context_.json) display_.showResults(jobs_.jobs());
    int status = kOk;
    for (const UpdateJob& job : jobs_.jobs()) {
      const UpdateResult result = resultOf(job);
      if (!result.good) status = kFailed;
      if (!context_.json) continue;
      if (job.outcome.is_object()) {
        print(jsonText(job.outcome, -1) + "\n");
      } else {
        complain(job.label + ": " + result.text);
      }
    }
    return status;
  }

  CommandContext& context_;
  const Json ids_;
  UpdateJobs jobs_;
  ProgressDisplay display_;
  const InterruptWatch watch_;
};

// Removes applications without a newer version on offer, and says so.
void leaveOutUpToDate(const CommandContext& context, std::vector<Json>& named) {
  std::erase_if(named, [&](const Json& record) {
    const bool isWanted =
        hasNewerVersion(record, context.versions) || recordFlag(record, kKQRWInstallerIsInQueueKey);
    if (!isWanted) {
      context.say(displayName(record) + ": nothing newer than " +
                  cleaned(recordText(record, kKQRWCurrentVersionKey)) + " is on offer");
    }
    return !isWanted;
  });
}

std::vector<Json> inQueue(std::vector<Json> records) {
  std::erase_if(records,
                [](const Json& record) { return !recordFlag(record, kKQRWInstallerIsInQueueKey); });
  return records;
}

int reportCancelled(const CommandContext& context, const UpdateJobs& jobs) {
  int status = kOk;
  Json outcomes = Json::array();
  for (const UpdateJob& job : jobs.jobs()) {
    const bool isCancelled = job.outcome.is_object() && outcomeIs(job.outcome, outcome::kCancelled);
    if (!isCancelled) status = kFailed;
    if (job.outcome.is_null()) {
      complain(job.label + " is not in the install queue.");
      continue;
    }
    outcomes.push_back(job.outcome);
    if (context.json) continue;
    print(isCancelled ? "Cancelled: " + job.label + "\n"
                      : job.label + " was not cancelled: " + resultOf(job).text + "\n");
  }
  if (context.json) print(jsonText(outcomes) + "\n");
  return status;
}

}  // namespace

int runUpdate(CommandContext& context, const JobSelection& selection) {
  auto records = context.agent.records();
  if (!records) return kFailed;
  context.agent.connection().takeEvents();  // they are older than the request
  if (records->empty()) explainNoApplications(context.agent);
  std::vector<Json> wanted;
  if (selection.all) {
    std::copy_if(records->begin(), records->end(), std::back_inserter(wanted),
                 [&](const Json& record) { return isOutdated(record, context.versions); });
    if (wanted.empty()) context.say("Nothing newer is on offer.");
  } else {
    auto named = recordsNamed(*records, selection.names);
    if (!named) return kUsage;
    wanted = std::move(*named);
    leaveOutUpToDate(context, wanted);
  }
  if (wanted.empty()) return kOk;
  return UpdateRun(context, wanted).run();
}

int runCancel(CommandContext& context, const JobSelection& selection) {
  const auto records = context.agent.records();
  if (!records) return kFailed;
  const auto named = selection.all ? inQueue(*records) : recordsNamed(*records, selection.names);
  if (!named) return kUsage;
  if (named->empty()) {
    print(context.json ? "[]\n" : "The install queue is empty.\n");
    return kOk;
  }
  AgentSession& agent = context.agent;
  agent.connection().takeEvents();
  UpdateJobs jobs(*named);
  WaitingLine waiting;
  const auto patience = [&] {
    waiting.show("Waiting for the running installation to complete its step");
    return true;
  };
  if (!agent.call(methods::kCancelUpdateItems, Json::array({idsOf(*named)}), patience)) {
    return kFailed;
  }
  waiting.clear();
  // The agent reports the outcome of each cancelled job before it replies.
  for (const AgentEvent& event : agent.connection().takeEvents()) jobs.hear(event);
  jobs.requestReturned(Json::array());
  return reportCancelled(context, jobs);
}

}  // namespace revwarden
