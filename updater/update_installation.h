#pragma once

#include <optional>
#include <string>
#include <vector>

#include "platform/host_application.h"
#include "updater/job_state.h"

namespace revwarden {

struct Platform;

/// The installation of an update job: unpacks or attaches the download, finds the new application
/// in it and replaces the installed one, runs a package, or hands the download over to the user.
/// Leaves the download and the unpacked files on disk. Runs on its own thread.
class UpdateInstallation {
 public:
  class Mediator {
   public:
    /// Sets the step of the job and reports the status.
    virtual void setCurrentAction(JobAction action) = 0;
    /// Returns a new warning notice with this text.
    virtual HostNotification warning(std::string text) = 0;
    /// Reports success to the delegate in a later turn of the main loop.
    virtual void postDidFinishSuccessfully() = 0;

   protected:
    ~Mediator() = default;
  };

  UpdateInstallation(std::shared_ptr<const Platform> platform, const JobItem& item, JobState& state,
                     Mediator& job);

  /// Installs the download. Returns early, after the current step, if the job is cancelled. The
  /// step and the result in the state say what was done.
  void performInstall();

  /// Deletes the files that the installation used and clears their path.
  void clearResources();

 private:
  void installFrom(const std::optional<std::string>& imagePath,
                   const std::optional<std::string>& unpacked);
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
