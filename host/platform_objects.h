#pragma once

#include <memory>
#include <string>

#include "base/result.h"
#include "host/agent_events.h"
#include "host/agent_host.h"
#include "host/desktop_notices.h"
#include "host/diagnostics.h"
#include "host/event_log.h"
#include "host/notices.h"
#include "host/options.h"
#include "platform/platform.h"
#include "ports/linux/bundles/linux_bundles.h"
#include "ports/linux/desktop/linux_workspace.h"
#include "ports/linux/desktop/logind_wake.h"
#include "ports/linux/files/linux_file_manager.h"
#include "ports/linux/files/linux_file_operations.h"
#include "ports/linux/files/temporary_folder.h"
#include "ports/linux/helper/helper_manager.h"
#include "ports/linux/loop/detached_threads.h"
#include "ports/linux/loop/glib_run_loop.h"
#include "ports/linux/processes/linux_child_processes.h"
#include "ports/linux/processes/quit_scripts.h"
#include "ports/linux/property_lists/property_list.h"
#include "ports/linux/system/english_localization.h"
#include "ports/linux/system/file_user_defaults.h"
#include "ports/linux/system/system_information.h"
#include "ports/posix/curl_connection.h"
#include "ports/posix/curl_downloads.h"
#include "ports/posix/libxml_documents.h"
#include "ports/posix/natural_versions.h"
#include "ports/posix/system_clock.h"

namespace revwarden {

/// The objects behind the agent's platform. They are built once and never destroyed: the agent's
/// threads use them until the process ends.
struct PlatformObjects {
  /// Main thread. Fails if something that the agent needs is missing.
  static Result<std::unique_ptr<PlatformObjects>> create(const Options& options);

  /// The platform over these objects, which it does not keep alive.
  std::shared_ptr<const Platform> platform();

  const Diagnostics diagnostics;
  const TemporaryFolder temporary;
  const std::unique_ptr<GLibRunLoop> mainLoop;
  EventLog events;         // depends-on: mainLoop, diagnostics
  OutcomeEvents outcomes;  // depends-on: events
  Notices notices;         // depends-on: events, mainLoop
  DetachedThreads threads;
  SystemClock clock;
  LogEvents log;  // depends-on: events
  EnglishLocalization localization;
  FileUserDefaults userDefaults;  // depends-on: diagnostics
  LinuxFileManager files;         // depends-on: temporary
  LinuxBundles bundles;
  NaturalVersions versions;
  LinuxSystemInformation systemInformation;
  ServiceProductInformation productInformation;
  LibxmlDocuments xml;
  CurlConnection connection;               // depends-on: events
  const std::unique_ptr<LogindWake> wake;  // depends-on: mainLoop
  AgentHost host;                          // depends-on: notices, events
  CurlDownloads downloads;
  LinuxWorkspace workspace;      // depends-on: threads, events
  LinuxChildProcesses children;  // depends-on: workspace
  LinuxFileOperations fileOperations;
  LinuxPropertyLists propertyLists;
  QuitScripts scripts;
  LinuxHelperManager helpers;               // depends-on: events
  std::unique_ptr<DesktopNotices> desktop;  // depends-on: notices, productInformation, mainLoop

 private:
  PlatformObjects(const Options& options, std::unique_ptr<GLibRunLoop> loop,
                  TemporaryFolder temporaryFolder);
};

}  // namespace revwarden
