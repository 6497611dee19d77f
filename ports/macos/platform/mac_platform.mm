#import "ports/macos/platform/mac_platform.h"

#include <utility>

#include "platform/child_process.h"
#include "platform/outcomes.h"
#import "ports/macos/platform/agent_reference.h"
#import "ports/macos/platform/foundation_bundles.h"
#include "ports/macos/platform/foundation_defaults.h"
#include "ports/macos/platform/foundation_property_lists.h"
#include "ports/macos/platform/mac_file_manager.h"
#include "ports/macos/platform/mac_file_operations.h"
#include "ports/macos/platform/mac_workspace.h"
#include "ports/macos/platform/main_run_loop.h"
#include "ports/macos/platform/pooled_threads.h"
#include "ports/macos/platform/shared_library.h"
#include "ports/posix/curl_connection.h"
#include "ports/posix/curl_downloads.h"
#include "ports/posix/libxml_documents.h"
#include "ports/posix/running_children.h"
#include "ports/posix/system_clock.h"
#ifdef __APPLE__
#include "ports/macos/platform/system_proxies.h"
#endif

namespace revwarden {
namespace {

ProxyFor proxyFor() {
#ifdef __APPLE__
  return systemProxyFor;
#else
  return {};
#endif
}

// Runs the system's tools at exactly their paths.
class MacChildProcesses final : public ChildProcesses {
 public:
  std::optional<Completion> run(const ChildProcess& child) override {
    return children_.run(child.program, child);
  }

 private:
  RunningChildren children_;
};

// The agent application has no method that receives outcomes.
class IgnoredOutcomes final : public OutcomeReceiver {
 public:
  void jobEnded(const JobOutcome&) override {}
  void checkEnded(const CheckOutcome&) override {}
};

struct PlatformObjects {
  PlatformObjects(std::shared_ptr<const AgentReference> agent, Protocol* userInterface,
                  HostAgent::TargetObject targetObject)
      : localization(agent),
        bundles(agent->agentClass),
        host(userInterface, std::move(targetObject)) {}

  MainRunLoop mainLoop;
  PooledThreads threads;
  SystemClock clock;
  SharedLog log;
  SharedLocalization localization;
  FoundationDefaults userDefaults;
  MacFileManager files;
  FoundationBundles bundles;
  SharedVersions versions;
  SharedSystemInformation systemInformation;
  SharedProductInformation productInformation;
  LibxmlDocuments xml;
  CurlConnection connection{[](const ExchangeEnd&) {}, {}, proxyFor()};
  MacWorkspace workspace;
  HostAgent host;
  IgnoredOutcomes outcomes;
  CurlDownloads downloads{{}, proxyFor()};
  MacChildProcesses children;
  MacFileOperations fileOperations;
  FoundationPropertyLists propertyLists;
  MacScripts scripts;
  SharedHelpers helpers;
};

}  // namespace

std::shared_ptr<const Platform> macPlatform(std::shared_ptr<const AgentReference> agent,
                                            Protocol* userInterface,
                                            HostAgent::TargetObject targetObject) {
  auto& s = *new PlatformObjects(std::move(agent), userInterface, std::move(targetObject));
  return std::make_shared<const Platform>(Platform{s.mainLoop,
                                                   s.threads,
                                                   s.clock,
                                                   s.log,
                                                   s.localization,
                                                   s.userDefaults,
                                                   s.files,
                                                   s.bundles,
                                                   s.versions,
                                                   s.systemInformation,
                                                   s.productInformation,
                                                   s.xml,
                                                   s.connection,
                                                   s.workspace,
                                                   s.host,
                                                   s.outcomes,
                                                   s.downloads,
                                                   s.children,
                                                   s.fileOperations,
                                                   s.propertyLists,
                                                   s.workspace,
                                                   s.scripts,
                                                   s.helpers,
                                                   s.host});
}

}  // namespace revwarden
