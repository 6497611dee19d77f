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

/// Everything that the agent reaches outside itself, built once by a port.
///
/// Handed over as a `shared_ptr`. The objects behind the references live as long as it does, or
/// until the process ends; every thread that uses one holds it.
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

  // What only update jobs use.
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
