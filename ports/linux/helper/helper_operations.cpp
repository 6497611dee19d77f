#include "ports/linux/helper/helper_operations.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <map>
#include <string_view>

#include "base/text.h"
#include "ports/linux/files/place_in_trash.h"
#include "ports/linux/files/trash.h"
#include "ports/linux/helper/script_run.h"
#include "ports/posix/file_descriptor.h"
#include "ports/posix/folder_copy.h"
#include "ports/posix/hidden_folder.h"

namespace revwarden {
namespace {

using Error = std::optional<std::string>;

Error failed(const std::string& path) {
  return path + ": " + std::strerror(errno);
}

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

Error refusalOfApplication(const std::string& path) {
  if (!isPlainPath(path)) return path + " is no full path.";
  if (asciiUpperCase(pathExtension(path)) == "APP") return std::nullopt;
  return path + " is no application.";
}

Error refusalOfFolder(const std::string& path) {
  if (!isPlainPath(path)) return path + " is no full path.";
  struct stat facts;
  if (::lstat(path.c_str(), &facts) != 0) return failed(path);
  if (S_ISDIR(facts.st_mode)) return std::nullopt;
  return path + " is no folder.";
}

Error refusalOfScript(const std::string& path, const std::optional<AskingUser>& user) {
  if (!isPlainPath(path) || lastPathComponent(path) != "installPkg") {
    return path + " is not the script that installs packages.";
  }
  struct stat facts;
  if (::lstat(path.c_str(), &facts) != 0) return failed(path);
  const bool isTrusted =
      facts.st_uid == 0 || facts.st_uid == ::geteuid() || (user && facts.st_uid == user->uid);
  if (S_ISREG(facts.st_mode) && isTrusted && !(facts.st_mode & S_IWOTH)) return std::nullopt;
  return path + " could be another user's.";
}

Error refusalOfPackage(const std::string& path) {
  if (!isPlainPath(path)) return path + " is no full path.";
  if (!asciiUpperCase(pathExtension(path)).ends_with("PKG")) return path + " is no package.";
  if (::access(path.c_str(), F_OK) == 0) return std::nullopt;
  return failed(path);
}

/// Makes the folder that holds `path` the current one.
Error enterFolderOf(const std::string& path) {
  constexpr int flags = O_PATH | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC;
  FileDescriptor folder(::open("/", flags));
  size_t begin = 1;
  for (size_t end; folder && (end = path.find('/', begin)) != path.npos; begin = end + 1) {
    const std::string name = path.substr(begin, end - begin);
    folder = FileDescriptor(::openat(folder.get(), name.c_str(), flags));
  }
  if (folder && ::fchdir(folder.get()) == 0) return std::nullopt;
  return failed(path);
}

Error copyToTrash(const std::string& path) {
  std::optional<PlaceInTrash> trash =
      PlaceInTrash::reserve(path, std::string(lastPathComponent(path)));
  if (!trash) return "The Trash cannot be used: " + std::string(std::strerror(errno));
  if (Error error = copyTree(path, trash->path())) return error;
  trash->use();
  return std::nullopt;
}

std::string inCurrentFolder(const std::string& path) {
  return "./" + std::string(lastPathComponent(path));
}

}  // namespace

HelperOperations::Answer HelperOperations::carryOut(const HelperMessage& request) {
  if (::chdir("/") != 0) return {failed("/")};  // wherever the last operation went
  if (request.size() == 2 && request[0] == moveToTrashSelector) return {moveToTrash(request[1])};
  if (request.size() == 3 && request[0] == copySelector) return {copy(request[1], request[2])};
  if (request.size() == 6 && request[0] == actionSelector && request[1] == "runScript") {
    const std::map<std::string, std::string> arguments{{request[2], request[3]},
                                                       {request[4], request[5]}};
    const auto script = arguments.find("SCRIPT");
    const auto package = arguments.find("PKG_PATH");
    if (script != arguments.end() && package != arguments.end()) {
      return {runPackageScript(script->second, package->second)};
    }
  }
  return {"The helper does not know this operation.", false};
}

Error HelperOperations::moveToTrash(const std::string& path) {
  if (Error refusal = refusalOfApplication(path)) return refusal;
  if (Error refusal = refusalOfFolder(path)) return refusal;
  if (!user_) return revwarden::moveToTrash(path);
  if (Error error = enterFolderOf(path)) return error;
  if (::eaccess(".", W_OK) != 0) return failed(path);  // not only after a long copy
  if (Error error = withRightsOf(*user_, [&] { return copyToTrash(path); })) return error;
  if (HiddenFolder::hide(AT_FDCWD, std::string(lastPathComponent(path)).c_str())) {
    return std::nullopt;
  }
  return failed(path);
}

Error HelperOperations::copy(const std::string& source, const std::string& destination) {
  if (Error refusal = refusalOfFolder(source)) return refusal;
  if (Error refusal = refusalOfApplication(destination)) return refusal;
  if (Error error = enterFolderOf(destination)) return error;
  return copyTree(source, inCurrentFolder(destination));
}

Error HelperOperations::runPackageScript(const std::string& script, const std::string& package) {
  if (Error refusal = refusalOfScript(script, user_)) return refusal;
  if (Error refusal = refusalOfPackage(package)) return refusal;
  return runScript(script, package, agent_);
}

}  // namespace revwarden
