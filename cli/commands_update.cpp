#include <algorithm>
#include <csignal>

#include "catalogue/record_keys.h"
#include "cli/commands.h"
#include "cli/progress_display.h"
#include "cli/update_jobs.h"
#include "cli/update_results.h"
#include "cli/waiting_line.h"

namespace revwarden {
namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;
using Time = steady_clock::time_point;

constexpr char kDidFinishPass[] = "agentDidFinishValidateItem:";
constexpr milliseconds kTurn{100};
constexpr milliseconds kSettleLimit{10'000};  // for the look at what is installed afterwards
constexpr milliseconds kPageLimit{4000};      // for the word whether a page could be opened

volatile std::sig_atomic_t interrupted = 0;

// Has the first interrupt from the terminal noticed instead of ending the process.
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

// By id, else by path: an application that a pass took for removed comes back with another id.
Json recordOf(const UpdateJob& job, const std::vector<Json>& records) {
  for (const char* key : {kKQRWIDKey, kKQRWApplicationPathKey}) {
    const std::string wanted = recordText(job.record, key);
    const auto found = std::find_if(records.begin(), records.end(), [&](const Json& record) {
      return recordText(record, key) == wanted;
    });
    if (found != records.end()) return *found;
  }
  return nullptr;
}

// One request for updates, from the request to the results.
class UpdateRun {
 public:
  UpdateRun(CommandContext& context, const std::vector<Json>& records)
      : context_(context), ids_(idsOf(records)), jobs_(records) {}

  int run() {
    if (!request()) return interrupted ? leave() : kFailed;
    while (!jobs_.allEnded()) {
      display();
      if (interrupted) return leave();
      if (outputIsLost()) return kFailed;
      if (!hearNext()) return report({});
    }
    display();
    const std::vector<Json> records = recordsAfterwards();
    return report(records);
  }

 private:
  bool request() {
    WaitingLine waiting;
    const auto patience = [&] {
      waiting.show("Waiting for the agent, which may be asking for administrator rights");
      return !interrupted;
    };
    AgentSession& agent = context_.agent;
    if (!agent.call("startUpdateItemWithIDs:", Json::array({ids_}), patience)) return false;
    hearAll();
    jobs_.requestReturned();
    const auto busy = agent.call("installerQueueIsInProgress", Json::array(), patience);
    if (!busy) return false;
    hearAll();
    if (*busy == false) jobs_.queueIsEmpty();
    return true;
  }

  void hear(const AgentEvent& event) {
    jobs_.hear(event);
    if (context_.json) print(eventJson(event));
  }

  void hearAll() {
    for (const AgentEvent& event : context_.agent.connection().takeEvents()) hear(event);
  }

  // Waits a moment for an event; false when there will be none any more, after that has been said.
  bool hearNext() {
    AgentEvent event;
    switch (context_.agent.connection().nextEvent(event, kTurn)) {
      case AgentConnection::Wait::timedOut:
        return true;
      case AgentConnection::Wait::event:
        if (event.method == kDidFinishPass) ++finishedPasses_;
        hear(event);
        return true;
      case AgentConnection::Wait::ended:
        display_.clear();
        complain("The agent has ended.");
        return false;
      case AgentConnection::Wait::broken:
        display_.clear();
        complain("The agent is not understood: " + context_.agent.connection().brokenText() + ".");
        return false;
    }
    return false;
  }

  void display() {
    if (!context_.json) display_.show(jobs_.jobs());
  }

  int leave() {
    display_.clear();
    complain(
        "Interrupted. What is in the queue goes on in the agent:\n"
        "\"revwarden watch\" shows it, \"revwarden cancel --all\" ends it.");
    return kInterrupted;
  }

  // The agent looks at each application after its job, unless it is busy with another pass then.
  // So those that seem unchanged are looked at once more.
  std::vector<Json> recordsAfterwards() {
    const Time limit = steady_clock::now() + kSettleLimit;
    awaitPages();
    if (!awaitPass(limit)) return {};
    auto records = context_.agent.records();
    if (!records) return {};
    const Json unchanged = idsOfUnchanged(*records);
    if (unchanged.empty()) return std::move(*records);
    if (!context_.agent.call("startUpdateInfoForItemsWithIDs:", Json::array({unchanged})) ||
        !awaitPass(limit)) {
      return {};
    }
    return context_.agent.records().value_or(std::vector<Json>());
  }

  Json idsOfUnchanged(const std::vector<Json>& records) const {
    Json ids = Json::array();
    for (const UpdateJob& job : jobs_.jobs()) {
      const bool mayBeInstalled =
          job.end == UpdateJob::End::succeeded || job.end == UpdateJob::End::unheard;
      const Json now = recordOf(job, records);
      if (mayBeInstalled && now.is_object() && !versionChanged(job, now)) {
        ids.push_back(recordText(now, kKQRWIDKey));
      }
    }
    return ids;
  }

  void awaitPages() {
    const Time limit = steady_clock::now() + kPageLimit;
    const auto isOpening = [](const UpdateJob& job) {
      return job.isManual() && job.end == UpdateJob::End::succeeded && !job.opened;
    };
    const std::vector<UpdateJob>& jobs = jobs_.jobs();
    while (std::any_of(jobs.begin(), jobs.end(), isOpening) && steady_clock::now() < limit &&
           !interrupted) {
      if (!hearNext()) return;
    }
  }

  // Waits until no pass runs; false when the agent is gone.
  bool awaitPass(Time limit) {
    for (;;) {
      const auto running = context_.agent.call("updateIsInProgress");
      if (!running) return false;
      hearAll();
      if (*running != true) return true;
      for (const int before = finishedPasses_; finishedPasses_ == before;) {
        if (interrupted || steady_clock::now() >= limit) return true;
        if (!hearNext()) return false;
      }
    }
  }

  int report(const std::vector<Json>& records) {
    display_.clear();
    bool allGood = true;
    for (const UpdateJob& job : jobs_.jobs()) {
      const UpdateResult result = resultOf(job, recordOf(job, records));
      allGood = allGood && result.good;
      if (context_.json) continue;
      const std::string line = job.label + ": " + result.text;
      print((result.good ? context_.terminal.styled(Terminal::Style::green, line) : line) + "\n");
    }
    return allGood ? kOk : kFailed;
  }

  CommandContext& context_;
  const Json ids_;
  UpdateJobs jobs_;
  ProgressDisplay display_;
  const InterruptWatch watch_;
  int finishedPasses_ = 0;
};

// Takes out what there is nothing to install for, and says so.
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

}  // namespace

int runUpdate(CommandContext& context, const JobSelection& selection) {
  auto records = context.agent.records();
  if (!records) return kFailed;
  context.agent.connection().takeEvents();  // the records know of them
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

}  // namespace revwarden
