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

/// Tests of an agent on a fake platform. `start` creates the agent and completes its first refresh.
class AgentTest : public testing::Test {
 protected:
  void TearDown() override {
    agent.reset();
    fake.threads.waitForAll(fake.loop);
  }
  std::shared_ptr<PrincipalAgent> create() {
    agent = PrincipalAgent::create(fake.reference());
    agent->setDelegate(events);
    return agent;
  }
  void createWithoutRefresh() {
    fake.threads.refuse = true;
    create();
    fake.threads.refuse = false;
  }
  void start() {
    create();
    finishPass();
    events->takeNames();
  }
  /// Runs the loop until this event has arrived. "list" ends a refresh.
  void finishPass(const std::string& event = "list") {
    ASSERT_TRUE(fake.loop.runUntil([&] { return events->count(event) > 0; })) << event;
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
  Dictionary stored() { return fake.defaults.dictionaryForKey("KQRWAgent").value_or(Dictionary()); }
  Array storedItems() { return stored().arrayFor("itemsPrefsKey").value_or(Array()); }
  void store(std::vector<Value> items, Dictionary settings = {}) {
    fake.defaults.setDictionary(settings.with("itemsPrefsKey", Array(std::move(items))),
                                "KQRWAgent");
  }
  /// Creates an agent that has catalogued applications with these names, which are also their ids,
  /// and update methods. The updates are at http://x/NAME.
  void catalogue(const std::vector<std::pair<std::string, std::string>>& namesAndMethods,
                 const std::string& extension = "");

  /// Returns a response of the service that offers these versions, by bundle identifier.
  static std::string answer(const std::vector<std::pair<std::string, std::string>>& offers) {
    std::string xml = "<response>";
    for (const auto& [id, version] : offers) {
      xml += "<item><bundle_id>" + id + "</bundle_id><version>" + version + "</version></item>";
    }
    return xml + "</response>";
  }
  void serve(const std::string& body) {
    fake.service.answer = [body](const URLRequest&) { return std::optional(body); };
  }

  FakePlatform fake;
  std::shared_ptr<EventRecorder> events = std::make_shared<EventRecorder>(fake.loop);
  std::shared_ptr<PrincipalAgent> agent;
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

inline void AgentTest::catalogue(
    const std::vector<std::pair<std::string, std::string>>& namesAndMethods,
    const std::string& extension) {
  std::vector<Value> items;
  for (const auto& [name, method] : namesAndMethods) {
    const std::string path = "/Applications/" + name + ".app";
    const Dictionary offer = {{kKQRWIDownloadLinkKey, "http://x/" + name + extension},
                              {kKQRWIUpdateMethodKey, method}};
    fake.disk.install(path, "1.0");
    items.emplace_back(record(name, path)
                           .with(kKQRWAvailableVersionInfoKey, offer)
                           .with(kKQRWNotifiedVersionKey, "2.0"));
  }
  store(std::move(items), {{"lastFireDate", fake.clock.now()}});
  createWithoutRefresh();
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
