#pragma once

namespace revwarden {

class AppleScripts;
class Bundles;
class ChildProcesses;
class Clock;
class FileManager;
class FileOperations;
class HostApplication;
class HostJobSupport;
class KQHelperManager;
class KQProductInformation;
class KQSystemInformation;
class Localization;
class Log;
class OutcomeReceiver;
class PropertyLists;
class RunLoop;
class Threads;
class URLConnection;
class URLDownloads;
class UserDefaults;
class Versions;
class WakeNotifications;
class Workspace;
class XmlDocuments;

/// Everything that the agent uses outside itself. A port builds it once.
///
/// It is shared as a `shared_ptr`. The objects that it refers to live at least as long as it, or
/// until the process ends. A thread that uses one of them holds a reference to the `Platform`.
struct Platform {
  RunLoop& mainLoop;
  Threads& threads;
  Clock& clock;
  Log& log;
  Localization& localization;
  UserDefaults& userDefaults;
  FileManager& files;
  Bundles& bundles;
  Versions& versions;
  KQSystemInformation& systemInformation;
  KQProductInformation& productInformation;
  XmlDocuments& xml;
  URLConnection& connection;
  WakeNotifications& wake;
  HostApplication& host;
  OutcomeReceiver& outcomes;

  // Only update jobs use these.
  URLDownloads& downloads;
  ChildProcesses& children;
  FileOperations& fileOperations;
  PropertyLists& propertyLists;
  Workspace& workspace;
  AppleScripts& scripts;
  KQHelperManager& helpers;
  HostJobSupport& hostJobs;
};

}  // namespace revwarden
