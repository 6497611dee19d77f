#include "ports/linux/helper/helper_operations.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <map>
#include <string_view>

#include "base/text.h"
#include "ports/linux/files/trash.h"
#include "ports/linux/files/trash_entry.h"
#include "ports/linux/helper/package_script.h"
#include "ports/posix/copy_tree.h"
#include "ports/posix/directory.h"
#include "ports/posix/staging_directory.h"
#include "ports/posix/system_error.h"

namespace revwarden {
namespace {

bool isPlainPath(std::string_view path) {
  if (path.size() < 2 || path.front() != '/' || path.find('\0') != path.npos) return false;
  while (!path.empty()) {
    path.remove_prefix(1);
    const std::string_view component = path.substr(0, path.find('/'));
    if (component.empty() || component == "." || component == "..") return false;
    path.remove_prefix(component.size());
  }
  return true;
}

Result<> checkApplication(const std::string& path) {
  if (!isPlainPath(path)) return Error{"", path + " is not a plain full path"};
  if (asciiUpperCase(pathExtension(path)) == "APP") return {};
  return Error{"", path + " is not an application"};
}

Result<> checkFolder(const std::string& path) {
  if (!isPlainPath(path)) return Error{"", path + " is not a plain full path"};
  struct stat facts;
  if (::lstat(path.c_str(), &facts) != 0) return systemError(path);
  if (S_ISDIR(facts.st_mode)) return {};
  return Error{"notFolder", path + " is not a folder"};
}

Result<> checkScript(const std::string& path, const std::optional<AskingUser>& user) {
  if (!isPlainPath(path) || lastPathComponent(path) != "installPkg") {
    return Error{"", path + " is not the script that installs packages"};
  }
  struct stat facts;
  if (::lstat(path.c_str(), &facts) != 0) return systemError(path);
  const bool isTrusted =
      facts.st_uid == 0 || facts.st_uid == ::geteuid() || (user && facts.st_uid == user->uid);
  if (S_ISREG(facts.st_mode) && isTrusted && !(facts.st_mode & S_IWOTH)) return {};
  return Error{"", path + " could be changed by another user"};
}

Result<> checkPackage(const std::string& path) {
  if (!isPlainPath(path)) return Error{"", path + " is not a plain full path"};
  if (!asciiUpperCase(pathExtension(path)).ends_with("PKG"))
    return Error{"", path + " is not a package"};
  if (::access(path.c_str(), F_OK) == 0) return {};
  return systemError(path);
}

// The entry of a path that leads through no link, so that nobody can put another folder in its way.
Result<DirectoryEntry> entryOf(const std::string& path) {
  std::optional<DirectoryEntry> entry = DirectoryEntry::atPathWithoutLinks(path);
  if (!entry) return systemError(path);
  return *std::move(entry);
}

Result<std::string> copyToTrash(const DirectoryEntry& application) {
  Result<TrashEntry> trashed = TrashEntry::reserve(application.path, application.name);
  if (!trashed) return trashed.error();
  const Result<> copied = copyTree(application.path, trashed->path());
  if (!copied) return copied.error();
  trashed->keep();
  return trashed->path();
}

}  // namespace

HelperOperations::Answer HelperOperations::carryOut(const HelperMessage& request) {
  if (request.size() == 2 && request[0] == kMoveToTrashSelector) return {moveToTrash(request[1])};
  if (request.size() == 3 && request[0] == kCopySelector) return {copy(request[1], request[2])};
  if (request.size() == 6 && request[0] == kActionSelector && request[1] == "runScript") {
    const std::map<std::string, std::string> arguments{{request[2], request[3]},
                                                       {request[4], request[5]}};
    const auto script = arguments.find("SCRIPT");
    const auto package = arguments.find("PKG_PATH");
    if (script != arguments.end() && package != arguments.end()) {
      return {runPackageScript(script->second, package->second)};
    }
  }
  return {Error{"", "the helper does not know this operation"}, false};
}

Result<std::string> HelperOperations::moveToTrash(const std::string& path) {
  if (const Result<> checked = checkApplication(path); !checked) return checked.error();
  if (const Result<> checked = checkFolder(path); !checked) return checked.error();
  if (!user_) return revwarden::moveToTrash(path);
  const Result<DirectoryEntry> entry = entryOf(path);
  if (!entry) return entry.error();
  const int folder = entry->folder.get();
  // Checked before the copy, which may take long.
  if (::faccessat(folder, ".", W_OK, AT_EACCESS) != 0) return systemError(path);
  Result<std::string> trashed = withRightsOf(*user_, [&] { return copyToTrash(*entry); });
  if (!trashed) return trashed;
  const Result<StagingDirectory> hidden = StagingDirectory::hide(folder, entry->name.c_str());
  if (!hidden) return atPath(path, hidden.error());
  return trashed;
}

Result<std::string> HelperOperations::copy(const std::string& source,
                                           const std::string& destination) {
  if (const Result<> checked = checkFolder(source); !checked) return checked.error();
  if (const Result<> checked = checkApplication(destination); !checked) return checked.error();
  const Result<DirectoryEntry> entry = entryOf(destination);
  if (!entry) return entry.error();
  const Result<> copied = copyTree(source, *entry, Owner::copier);
  if (!copied) return copied.error();
  return std::string();
}

Result<std::string> HelperOperations::runPackageScript(const std::string& script,
                                                       const std::string& package) {
  if (const Result<> checked = checkScript(script, user_); !checked) return checked.error();
  if (const Result<> checked = checkPackage(package); !checked) return checked.error();
  const Result<> ran = revwarden::runPackageScript(script, package, agent_);
  if (!ran) return ran.error();
  return std::string();
}

}  // namespace revwarden
