// What becomes of jobs, told by the agent's events in the orders that make it hard.
#include "cli/update_jobs.h"

#include <gtest/gtest.h>

#include "cli/update_results.h"
#include "tests/cli/job_events.h"

namespace revwarden {
namespace {

using namespace std::chrono_literals;
using Events = std::vector<AgentEvent>;

struct Story {
  template <typename... Record>
  explicit Story(const Record&... records) : jobs(std::vector<Json>{records...}) {}
  Story& requested(const Events& events) {
    hear(events);
    jobs.requestReturned();
    return *this;
  }
  Story& hear(const Events& events) {
    for (const AgentEvent& event : events) jobs.hear(event);
    return *this;
  }
  std::string steps() const {
    std::string all;
    for (const UpdateJob& job : jobs.jobs()) all += (all.empty() ? "" : ", ") + stepText(job);
    return all;
  }
  std::string result(size_t job, const Json& now = nullptr) const {
    const UpdateResult result = resultOf(jobs.jobs()[job], now);
    return (result.good ? "+" : "-") + result.text;
  }
  UpdateJobs jobs;
};

TEST(UpdateJobs, TheVerdictOfAJobThatEndsAtOnceComesAfterAllOfTheNextOne) {
  const Json twin = {{"id", "id-B"}, {"applicationName", "A"}, {"currentVersion", "1"}};
  Story story(outdated("A"), twin, outdated("C"));
  story.requested({jobStarts("A"), statusChanges({"A"}, false), jobStops("A"), queueStops(),
                   jobSucceeded("A"), jobStarts("B"), statusChanges({"A", "B", "C"}, true)});
  EXPECT_EQ(story.steps(), "done, starting, in queue");
  story.hear({jobGoesOn("A", 5), jobGoesOn("B", 2), jobGoesOn("B", 4), jobStops("B"),
              jobStarts("C"), jobGoesOn("A", 3), jobStops("C"), queueStops()});
  EXPECT_FALSE(story.jobs.allEnded());
  story.hear({jobSucceeded("A")});
  EXPECT_EQ(story.steps(), "done, downloading, done") << "the inner verdict is the later stop's";
  story.hear({jobFailed("A"), jobGoesOn("B", 3)});
  EXPECT_EQ(story.steps(), "done, failed, done");
}

TEST(UpdateJobs, ASecondEndOfAJobAndASecondStartChangeNothing) {
  Story story(outdated("A"), outdated("B"));
  story.requested({jobStarts("A"), statusChanges({"A", "B"}, true)})
      .hear({jobStops("A"), jobStarts("B"), jobSucceeded("A"), statusChanges({"A"}, false),
             jobStops("A"), jobStarts("B"), jobFailed("A"), jobGoesOn("B", 2, 1, 4)});
  EXPECT_EQ(story.steps(), "done, downloading");

  Story again(outdated("A"));  // its cancelled job of before ends a second time
  again.requested({jobStarts("A"), statusChanges({"A"}, true)})
      .hear({statusChanges({"A"}, false), jobStops("A"), jobStarts("A"), jobFailed("A")});
  EXPECT_EQ(again.steps(), "starting");
}

TEST(UpdateJobs, AnInterruptionFailsOneJobAndDropsTheOthers) {
  Story story(outdated("A"), outdated("B"));
  story.requested({jobStarts("A"), statusChanges({"A", "B"}, true)})
      .hear({jobGoesOn("A", 2), warning("no route"), jobGoesOn("A", 5), queueIsInterrupted(),
             statusChanges({"A", "B"}, false), queueStops()});
  EXPECT_EQ(story.result(0), "-failed: no route");
  EXPECT_EQ(story.result(1), "-dropped, because another job's download failed");

  Story late(outdated("A"));  // the failing download is that of a job cancelled before
  late.requested({jobStarts("A"), statusChanges({"A"}, true)})
      .hear({jobGoesOn("A", 3), warning("no route"), queueIsInterrupted(),
             statusChanges({"A"}, false), queueStops()});
  EXPECT_EQ(late.steps(), "interrupted");
  late.hear({jobStops("A"), jobSucceeded("A")});
  EXPECT_EQ(late.steps(), "done") << "it was not stopped, only dropped";
}

TEST(UpdateJobs, CancelledJobsAreToldFromFailedOnes) {
  Story story(outdated("A"), outdated("B"), outdated("C"));
  story.requested({jobStarts("A"), statusChanges({"A", "B", "C"}, true)})
      .hear({statusChanges({"B"}, true), statusChanges({"A"}, false), jobStops("A"), jobStarts("C"),
             jobFailed("A"), statusChanges({"B", "A"}, false)});
  EXPECT_EQ(story.steps(), "cancelled, cancelled, starting");
}

TEST(UpdateJobs, WhatWasNotQueuedAndWhatWasQueuedBefore) {
  Story story(outdated("A"), outdated("B", true), outdated("C", true), outdated("D"));
  story.requested({jobStarts("C"),
                   {"rootTaskWithPrompt:", Json::array({"may I?", false})},
                   jobStops("C"),
                   jobFailed("C"),
                   statusChanges({"C", "D"}, true)});
  EXPECT_EQ(story.steps(), "left out, in queue, in queue, in queue");
  EXPECT_EQ(story.result(0), "-left out: it needs administrator rights, which were refused");
  story.hear({jobGoesOn("B", 3), jobStops("B"), jobSucceeded("B")});
  EXPECT_EQ(story.result(1, updated("B")), "+updated from 1 to 2 (it was in the queue already)");
}

TEST(UpdateJobs, AJobWhoseRecordWentAwayEndsWithTheNextOneOrTheQueue) {
  Story story(outdated("A"), outdated("B"));
  const AgentEvent nameless =
      logged("Update of %@ from %@ to %@ version was failed.", {"(null)", "(null)", "(null)"});
  story.requested({jobStarts("A"), statusChanges({"A", "B"}, true)})
      .hear({statusChanges({}, false), jobStarts("Other"), nameless, jobStops("Other")});
  EXPECT_EQ(story.steps(), "ended, in queue");
  story.hear({queueStops(), nameless, jobSucceeded("Other")});
  EXPECT_EQ(story.result(0, updated("A")), "+updated from 1 to 2");
  EXPECT_EQ(story.result(1, outdated("B")), "-over, and the agent did not say how");
}

TEST(UpdateJobs, ASuccessWithoutAnInstallationIsToldAsWhatItWas) {
  const auto resultAfter = [](const Events& events, const std::string& method = "auto",
                              const AgentEvent& verdict = jobSucceeded("A")) {
    Json record = outdated("A");
    record["availableVersionInfo"]["updateMethod"] = method;
    Story story(record);
    story.requested({jobStarts("A"), statusChanges({"A"}, true)}).hear(events);
    story.hear({jobStops("A"), verdict, {"openURL:", {"http://d/A", false}}});
    return story.result(0, record);
  };
  EXPECT_EQ(resultAfter({}), "+done, but version 1 is installed as before");
  EXPECT_EQ(resultAfter({{"openURL:", {"http://d/A", true}}}),
            "+not installed; the download is a page, which was opened: http://d/A");
  EXPECT_EQ(resultAfter({}, "manual"),
            "-to be updated by hand, but its page could not be opened: http://d/A");
  EXPECT_EQ(resultAfter({{"rootTask", {"performAction:withArguments:", Json::array(), "disk full"}},
                         warning("Failed to update application A")},
                        "auto", jobFailed("A")),
            "-failed: disk full");
}

}  // namespace
}  // namespace revwarden
