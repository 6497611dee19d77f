#pragma once

namespace revwarden {

class Bundles;
class Clock;
class FileManager;
class HostApplication;
class KQProductInformation;
class KQSystemInformation;
class Localization;
class Log;
class RunLoop;
class Threads;
class URLConnection;
class UserDefaults;
class Versions;
class WakeNotifications;
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
};

}  // namespace revwarden
