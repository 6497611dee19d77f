#include "ports/linux/files/place_in_trash.h"

#include <fcntl.h>
#include <glib.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <ctime>
#include <memory>
#include <string_view>

#include "base/text.h"
#include "ports/linux/files/user_folders.h"
#include "ports/posix/file_descriptor.h"

namespace revwarden {
namespace {

std::string noteFor(const std::string& origin) {
  const std::unique_ptr<char, decltype(&g_free)> escaped(
      g_uri_escape_string(origin.c_str(), "/", FALSE), g_free);
  const time_t now = time(nullptr);
  tm local{};
  localtime_r(&now, &local);
  char date[32];
  strftime(date, sizeof date, "%Y-%m-%dT%H:%M:%S", &local);
  return "[Trash Info]\nPath=" + std::string(escaped.get()) + "\nDeletionDate=" + date + "\n";
}

// "Name.app", then "Name.2.app" and so on.
std::string variantOf(const std::string& name, int number) {
  if (number == 1) return name;
  const std::string_view stem = deletingPathExtension(name);
  return std::string(stem) + "." + std::to_string(number) + name.substr(stem.size());
}

bool exists(const std::string& path) {
  return faccessat(AT_FDCWD, path.c_str(), F_OK, AT_SYMLINK_NOFOLLOW) == 0;
}

}  // namespace

std::optional<PlaceInTrash> PlaceInTrash::reserve(const std::string& origin,
                                                  const std::string& name) {
  const std::string files = dataFolder() + "/Trash/files", info = dataFolder() + "/Trash/info";
  if (g_mkdir_with_parents(files.c_str(), S_IRWXU) != 0) return std::nullopt;
  if (g_mkdir_with_parents(info.c_str(), S_IRWXU) != 0) return std::nullopt;
  const std::string note = noteFor(origin);
  for (int number = 1;; ++number) {
    const std::string variant = "/" + variantOf(name, number);
    if (exists(files + variant)) continue;
    PlaceInTrash place(files + variant, info + variant + ".trashinfo");
    if (place.writeNote(note)) return place;
    if (errno != EEXIST) return std::nullopt;
  }
}

// The note is what makes the name ours.
bool PlaceInTrash::writeNote(const std::string& text) {
  FileDescriptor file(open(note_.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600));
  if (!file) {
    note_.clear();
    return false;
  }
  return writeBytes(file.get(), text) && file.close();
}

PlaceInTrash::~PlaceInTrash() {
  const int error = errno;
  if (!note_.empty()) unlink(note_.c_str());
  errno = error;
}

}  // namespace revwarden
