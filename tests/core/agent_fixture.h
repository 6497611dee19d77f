#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "agent/principal_agent.h"
#include "catalogue/record_keys.h"
#include "catalogue/version_info_keys.h"
#include "tests/fakes/event_recorder.h"
#include "tests/fakes/fake_platform.h"

namespace revwarden {

/// An agent in an in-memory world. `start` creates it and sees its first refresh through.
class AgentTest : public testing::Test {
 protected:
  void TearDown() override {
    agent.reset();
    world.threads.waitForAll(world.loop);
  }
  std::shared_ptr<PrincipalAgent> create() {
    agent = PrincipalAgent::create(world.reference());
    agent->setDelegate(events);
    return agent;
  }
  void createWithoutRefresh() {
    world.threads.refuse = true;
    create();
    world.threads.refuse = false;
  }
  void start() {
    create();
    finishPass();
    events->takeNames();
  }
  /// Waits until no pass runs and all of its events have come.
  void finishPass() {
    const bool finished = world.loop.runUntil(
        [&] { return events->count("list") + (validating ? events->count("finish") : 0) > 0; });
    ASSERT_TRUE(finished) << "the pass did not end";
  }
  void refresh() {
    events->takeNames();
    agent->startUpdateApplicationsList();
    finishPass();
  }
  Dictionary itemAt(const std::string& path) {
    for (const LiveRecordRef& record : agent->itemsSnapshot()) {
      Dictionary contents = record->contents();
      const std::string* found = contents.stringFor(kKQRWApplicationPathKey);
      if (found && *found == path) return contents;
    }
    return {};
  }
  std::string idAt(const std::string& path) {
    const Dictionary item = itemAt(path);
    return *item.stringFor(kKQRWIDKey);
  }
  Dictionary stored() {
    return world.defaults.dictionaryForKey("KQRWAgent").value_or(Dictionary());
  }
  Array storedItems() { return stored().arrayFor("itemsPrefsKey").value_or(Array()); }
  void store(std::vector<Value> items, Dictionary settings = {}) {
    world.defaults.setDictionary(settings.with("itemsPrefsKey", Array(std::move(items))),
                                 "KQRWAgent");
  }

  /// An answer of the service: "item" elements for (bundle id, version) pairs.
  static std::string answer(const std::vector<std::pair<std::string, std::string>>& offers) {
    std::string xml = "<response>";
    for (const auto& [id, version] : offers) {
      xml += "<item><bundle_id>" + id + "</bundle_id><version>" + version + "</version></item>";
    }
    return xml + "</response>";
  }
  void serve(const std::string& body) {
    world.service.answer = [body](const URLRequest&) { return std::optional(body); };
  }

  FakePlatform world;
  std::shared_ptr<EventRecorder> events = std::make_shared<EventRecorder>(world.loop);
  std::shared_ptr<PrincipalAgent> agent;
  bool validating = false;
};

inline Dictionary record(const std::string& id, const std::string& path,
                         const std::string& version = "1.0") {
  return {{kKQRWIDKey, id},
          {kKQRWApplicationPathKey, path},
          {kKQRWApplicationNameKey, std::string(deletingPathExtension(lastPathComponent(path)))},
          {kKQRWBundleIdKey,
           "org.example." + std::string(deletingPathExtension(lastPathComponent(path)))},
          {kKQRWCurrentVersionKey, version}};
}

inline std::string textAt(const Dictionary& item, const char* key) {
  const std::string* text = item.stringFor(key);
  return text ? *text : "(absent)";
}

inline std::string offeredVersion(const Dictionary& item) {
  const auto info = item.dictionaryFor(kKQRWAvailableVersionInfoKey);
  return info ? textAt(*info, kKQRWIVersionKey) : "(no offer)";
}

}  // namespace revwarden
