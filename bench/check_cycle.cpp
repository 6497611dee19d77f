// Measures a check without the network: select the records, write the request, parse the answer and
// merge it. Every record is sent and answered. For comparison, libxml2 alone builds, writes, parses
// and reads the same two documents.
#include <benchmark/benchmark.h>
#include <libxml/parser.h>
#include <libxml/tree.h>

#include <map>
#include <optional>

#include "bench/inline_platform.h"
#include "catalogue/agent_settings.h"
#include "catalogue/excluded_paths.h"
#include "catalogue/item_catalogue.h"
#include "catalogue/pass_guard.h"
#include "catalogue/record_keys.h"
#include "catalogue/version_info_keys.h"
#include "check/update_check.h"
#include "ports/linux/system/system_information.h"

namespace revwarden::bench {
namespace {

struct Fact {
  std::string name, version, bundleId;
};

Fact factOf(int64_t number) {
  const std::string n = std::to_string(number);
  return {"Application " + n, "1." + n, "org.example.application" + n};
}

// Ten fields for each application.
std::string answerFor(int64_t count) {
  std::string xml = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<response>\n";
  for (int64_t i = 0; i < count; ++i) {
    const Fact fact = factOf(i);
    xml += "  <item>\n    <bundle_id>" + fact.bundleId + "</bundle_id>\n    <name>" + fact.name +
           "</name>\n    <version>2." + std::to_string(i) +
           "</version>\n    <os>10.6 or later</os>\n    <short_descr>Edits &amp; arranges things."
           "</short_descr>\n    <license>Commercial</license>\n    <price>$ 29.95</price>\n"
           "    <download_link>http://downloads.example.org/files/application" +
           std::to_string(i) +
           "-2.0.zip</download_link>\n    <file_size_byte>10485760</file_size_byte>\n"
           "    <updateMethod>auto</updateMethod>\n  </item>\n";
  }
  return xml + "</response>\n";
}

const std::string& cannedAnswer(int64_t count) {
  static std::map<int64_t, std::string> answers;
  std::string& answer = answers[count];
  if (answer.empty()) answer = answerFor(count);
  return answer;
}

struct CannedService final : URLConnection {
  URLExchange sendSynchronousRequest(const URLRequest& request) override {
    requestBytes = request.body.size();
    return {.status = 200, .body = *answer};
  }
  const std::string* answer = nullptr;
  size_t requestBytes = 0;
};

class Cycle final : PassGuard::Mediator, UpdateCheck::Mediator {
 public:
  explicit Cycle(int64_t count) {
    service.answer = &cannedAnswer(count);
    for (int64_t i = 0; i < count; ++i) {
      const Fact fact = factOf(i);
      catalogue.appendItem({{kKQRWIDKey, "id-" + std::to_string(i)},
                            {kKQRWApplicationPathKey, "/Applications/" + fact.name + ".app"},
                            {kKQRWApplicationNameKey, fact.name},
                            {kKQRWBundleIdKey, fact.bundleId},
                            {kKQRWCurrentVersionKey, fact.version}});
    }
  }
  void run() { check.performCheckForAppsUpdates(); }
  size_t answered() const { return catalogue.items().size(); }

  CannedService service;

 private:
  void scheduleNextUpdate() override {}
  void sendDidStartValidateItem() override {}
  void sendDidFinishValidateItem() override {}
  std::shared_ptr<void> agentReference() override { return nullptr; }
  void notifyNewUpdates() override {}
  void notifyDelegateAboutItemsDidChange() override {}

  InlinePlatform world;
  LinuxSystemInformation machine{{}};
  ServiceProductInformation product{"127.0.0.1:8484"};
  const Platform platform = world.with(world.memory.defaults, machine, product, service);
  ItemCatalogue catalogue;
  ExcludedPaths excluded{world.files};
  AgentSettings settings{platform, catalogue, excluded};
  PassGuard pass{{std::shared_ptr<const Platform>(), &platform}, *this};
  UpdateCheck check{platform, catalogue, settings, pass, *this};
};

void CheckCycle(benchmark::State& state) {
  Cycle cycle(state.range(0));
  for (auto _ : state) cycle.run();
  if (cycle.answered() != static_cast<size_t>(state.range(0))) state.SkipWithError("not answered");
  state.counters["request_bytes"] = static_cast<double>(cycle.service.requestBytes);
}

const xmlChar* xml(const char* text) {
  return reinterpret_cast<const xmlChar*>(text);
}

size_t buildAndWriteRequest(int64_t count) {
  xmlDocPtr document = xmlNewDoc(xml("1.0"));
  xmlNodePtr root = xmlNewNode(nullptr, xml("request"));
  xmlDocSetRootElement(document, root);
  for (const char* attribute : {"version", "sn", "os", "cpu"}) {
    xmlNewProp(root, xml(attribute), xml("value"));
  }
  for (int64_t i = 0; i < count; ++i) {
    const Fact fact = factOf(i);
    xmlNodePtr item = xmlNewChild(root, nullptr, xml("item"), nullptr);
    xmlNewTextChild(item, nullptr, xml("name"), xml(fact.name.c_str()));
    xmlNewTextChild(item, nullptr, xml("version"), xml(fact.version.c_str()));
    xmlNewTextChild(item, nullptr, xml("bundleId"), xml(fact.bundleId.c_str()));
    xmlNewChild(item, nullptr, xml("mandatory"), nullptr);
  }
  xmlChar* bytes = nullptr;
  int length = 0;
  xmlDocDumpMemoryEnc(document, &bytes, &length, "UTF-8");
  xmlFree(bytes);
  xmlFreeDoc(document);
  return static_cast<size_t>(length);
}

size_t parseAndReadAnswer(const std::string& answer) {
  xmlDocPtr document = xmlReadMemory(answer.data(), static_cast<int>(answer.size()), nullptr,
                                     nullptr, XML_PARSE_NONET | XML_PARSE_HUGE);
  size_t characters = 0;
  for (xmlNodePtr item = xmlDocGetRootElement(document)->children; item; item = item->next) {
    for (xmlNodePtr field = item->children; field; field = field->next) {
      if (field->type != XML_ELEMENT_NODE) continue;
      xmlChar* text = xmlNodeGetContent(field);
      characters += static_cast<size_t>(xmlStrlen(text));
      xmlFree(text);
    }
  }
  xmlFreeDoc(document);
  return characters;
}

void BareLibxml2(benchmark::State& state) {
  const std::string& answer = cannedAnswer(state.range(0));
  for (auto _ : state) {
    benchmark::DoNotOptimize(buildAndWriteRequest(state.range(0)));
    benchmark::DoNotOptimize(parseAndReadAnswer(answer));
  }
}

#define SIZES ->Arg(1000)->Arg(10000)->Arg(100000)->Unit(benchmark::kMillisecond)
BENCHMARK(CheckCycle) SIZES;
BENCHMARK(BareLibxml2) SIZES;

}  // namespace
}  // namespace revwarden::bench

BENCHMARK_MAIN();
