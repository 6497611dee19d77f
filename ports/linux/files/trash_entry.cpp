#include "ports/linux/files/trash_entry.h"

#include <fcntl.h>
#include <glib.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <ctime>
#include <filesystem>
#include <string_view>

#include "base/text.h"
#include "ports/linux/files/regular_file.h"
#include "ports/linux/files/user_folders.h"
#include "ports/posix/file_descriptor.h"
#include "ports/posix/system_error.h"

namespace revwarden {
namespace {

constexpr size_t kLargestNote = size_t{64} << 10;

std::string noteFor(const std::string& origin) {
  g_autofree char* escaped = g_uri_escape_string(origin.c_str(), "/", FALSE);
  const time_t now = time(nullptr);
  tm local{};
  localtime_r(&now, &local);
  char date[32];
  strftime(date, sizeof date, "%Y-%m-%dT%H:%M:%S", &local);
  return std::string("[Trash Info]\nPath=") + escaped + "\nDeletionDate=" + date + "\n";
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

Result<TrashEntry> TrashEntry::reserve(const std::string& origin, const std::string& name) {
  const std::string files = dataFolder() + "/Trash/files", info = dataFolder() + "/Trash/info";
  for (const std::string& folder : {files, info}) {
    if (g_mkdir_with_parents(folder.c_str(), S_IRWXU) != 0) return systemError(folder);
  }
  const std::string text = noteFor(origin);
  for (int number = 1;; ++number) {
    const std::string variant = "/" + variantOf(name, number);
    const std::string note = info + variant + ".trashinfo";
    if (exists(files + variant)) continue;
    // Creating the note reserves the name.
    FileDescriptor file(open(note.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600));
    if (!file && errno == EEXIST) continue;
    if (!file) return systemError(note);
    TrashEntry entry(files + variant, note);
    if (writeBytes(file.get(), text) && file.close()) return entry;
    return systemError(note);
  }
}

TrashEntry::~TrashEntry() {
  if (!note_.empty()) unlink(note_.c_str());
}

std::optional<std::string> originOfTrashed(const std::string& path) {
  namespace fs = std::filesystem;
  const fs::path item = path, files = item.parent_path(), trash = files.parent_path();
  if (files.filename() != "files") return std::nullopt;
  const fs::path note = trash / "info" / (item.filename().string() + ".trashinfo");
  std::string text;
  g_autoptr(GKeyFile) facts = g_key_file_new();
  if (!readRegularFile(note.c_str(), kLargestNote, text) ||
      !g_key_file_load_from_data(facts, text.data(), text.size(), G_KEY_FILE_NONE, nullptr)) {
    return std::nullopt;
  }
  g_autofree char* escaped = g_key_file_get_value(facts, "Trash Info", "Path", nullptr);
  g_autofree char* origin = g_uri_unescape_string(escaped, nullptr);
  if (!origin) return std::nullopt;
  // A relative path begins at the root of the volume, which contains .Trash-UID or .Trash/UID.
  const fs::path above = trash.parent_path();
  return (above.filename() == ".Trash" ? above.parent_path() : above) / origin;
}

}  // namespace revwarden
