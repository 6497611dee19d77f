#pragma once

#include <optional>
#include <string>
#include <vector>

#include "platform/host_application.h"
#include "updater/job_state.h"

namespace revwarden {

struct Platform;

/// The installation of an update job, on a thread of its own: unpacks or attaches the download,
/// finds the new application in it and replaces the installed one, runs a package, or hands the
/// download over to the user. Unpacked and mounted files stay where they are after a failure.
class UpdateInstallation {
 public:
  /// What the installation needs of its job.
  class Mediator {
   public:
    virtual void setCurrentAction(JobAction action) = 0;
    virtual HostNotification warning(std::string text) = 0;
    /// Reports success to the delegate in a later turn of the main loop.
    virtual void postDidFinishSuccessfully() = 0;

   protected:
    ~Mediator() = default;
  };

  UpdateInstallation(std::shared_ptr<const Platform> platform, const JobItem& item, JobState& state,
                     Mediator& job);

  /// Installs the download and returns at the end, or at the next check point after the job was
  /// cancelled. The action and the result in the state say what was done.
  void performInstall();

  /// Deletes the unpacked or mounted files and forgets them.
  void clearResources();

 private:
  void revealDownload();
  void mountForUser(const std::optional<std::string>& imagePath);
  std::optional<std::string> unzipTarget(const std::optional<std::string>& path);
  std::vector<std::string> contentsOf(const std::string& folder) const;
  std::optional<std::string> imageIn(const std::string& folder) const;
  std::optional<std::string> updateAppFromResourcePathReturningPathToLaunch(
      const std::optional<std::string>& resources);
  void replaceApplicationWith(const std::string& newApplication);
  bool moveOldApplicationToTrash();
  bool copyNewApplication(const std::string& newApplication);
  void explainMissingApplication(const std::string& resources, const std::string& attachError);
  void finishUpdateWithMountPoint_mountPath_andPathToLaunch(
      const std::string& mountPoint, const std::optional<std::string>& imagePath,
      const std::optional<std::string>& pathToLaunch);
  void installPackageFile(const std::optional<std::string>& path);
  void showFailure();

  const std::shared_ptr<const Platform> platform_;
  const JobItem& item_;
  JobState& state_;
  Mediator& job_;
};

}  // namespace revwarden
