#include "ports/linux/bundles/bundle_information.h"

#include <limits.h>

#include <array>
#include <cerrno>
#include <cstring>

namespace revwarden {
namespace {

constexpr size_t kMaxSize = size_t{16} << 20;
constexpr std::array<std::string_view, 3> kPlaces = {"/Contents/Info.plist", "/Info.plist",
                                                     "/Resources/Info.plist"};

// The path of a file below a folder. Does not allocate: a refresh makes one for each bundle.
class PathBelow {
 public:
  PathBelow(std::string_view folder, std::string_view rest) {
    text_[0] = '\0';
    if (folder.size() + rest.size() >= sizeof text_) return;
    std::memcpy(text_, folder.data(), folder.size());
    std::memcpy(text_ + folder.size(), rest.data(), rest.size());
    text_[folder.size() + rest.size()] = '\0';
  }

  /// Empty if it is longer than any path can be.
  const char* c_str() const { return text_; }

 private:
  char text_[PATH_MAX];
};

}  // namespace

std::optional<InformationFile> findInformationFile(std::string_view bundle) {
  for (size_t place = 0; place < kPlaces.size(); ++place) {
    struct stat facts {};
    if (stat(PathBelow(bundle, kPlaces[place]).c_str(), &facts) == 0) {
      return InformationFile{place, FileState(facts)};
    }
    if (errno != ENOENT && errno != ENOTDIR) return std::nullopt;
  }
  return std::nullopt;
}

Result<InformationFile> readInformationFile(std::string_view bundle, std::string& contents) {
  Error error;
  for (size_t place = 0; place < kPlaces.size(); ++place) {
    const Result<FileState> state =
        readRegularFile(PathBelow(bundle, kPlaces[place]).c_str(), kMaxSize, contents);
    if (state) return InformationFile{place, *state};
    error = state.error();
    if (error.code != kMissing) break;
  }
  return error;
}

}  // namespace revwarden
