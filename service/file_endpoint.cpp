#include "service/file_endpoint.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <optional>
#include <string_view>
#include <utility>

#include "base/text.h"
#include "ports/posix/directory.h"
#include "ports/posix/system_error.h"
#include "service/routes.h"

namespace revwarden {
namespace {

// An open regular file.
class ServedFile {
 public:
  // Returns nullptr if there is no such regular file inside the folder.
  static std::shared_ptr<const ServedFile> open(int folder, const std::string& path) {
    if (path.find('\0') != std::string::npos) return nullptr;
    // O_NONBLOCK: opening a FIFO must not wait for a writer.
    FileDescriptor descriptor = openBeneath(folder, path, O_RDONLY | O_NONBLOCK);
    struct stat information {};
    if (!descriptor || fstat(descriptor.get(), &information) != 0 ||
        !S_ISREG(information.st_mode)) {
      return nullptr;
    }
    return std::make_shared<ServedFile>(std::move(descriptor),
                                        static_cast<size_t>(information.st_size));
  }

  ServedFile(FileDescriptor descriptor, size_t size)
      : descriptor_(std::move(descriptor)), size_(size) {}

  // When it was opened.
  size_t size() const { return size_; }

  // Sends up to `length` bytes from `offset`. Returns false if the client is gone or the file is
  // now shorter.
  bool send(size_t offset, size_t length, httplib::DataSink& sink) const {
    std::array<char, 65536> buffer;
    const ssize_t count = pread(descriptor_.get(), buffer.data(), std::min(length, buffer.size()),
                                static_cast<off_t>(offset));
    return count > 0 && sink.write(buffer.data(), static_cast<size_t>(count));
  }

 private:
  const FileDescriptor descriptor_;
  const size_t size_;
};

struct Slice {
  size_t offset = 0;
  size_t length = 0;
};

// Returns the bytes that a range selects; absent if it selects none. A range is a pair of first and
// last byte, -1 if missing: "5-" is {5, -1}, and "-5", the last five bytes, is {-1, 5}.
std::optional<Slice> sliceOf(const httplib::Range& range, size_t size) {
  const auto [first, last] = range;
  if (first < 0) {
    const size_t length = std::min(static_cast<size_t>(std::max<ssize_t>(last, 0)), size);
    return length == 0 ? std::nullopt : std::optional(Slice{size - length, length});
  }
  const auto offset = static_cast<size_t>(first);
  if (offset >= size) return std::nullopt;
  const size_t end = last < 0 ? size : std::min(static_cast<size_t>(last) + 1, size);
  return Slice{offset, end - offset};
}

const char* contentTypeOf(const std::string& path) {
  static constexpr std::pair<std::string_view, const char*> kTypes[] = {
      {"ZIP", "application/zip"}, {"DMG", "application/x-apple-diskimage"}, {"HTML", "text/html"},
      {"HTM", "text/html"},       {"XHTML", "application/xhtml+xml"},       {"TXT", "text/plain"},
      {"CSS", "text/css"},
  };
  const std::string extension = asciiUpperCase(pathExtension(path));
  const auto* found = std::find_if(std::begin(kTypes), std::end(kTypes),
                                   [&](const auto& type) { return type.first == extension; });
  return found != std::end(kTypes) ? found->second : "application/octet-stream";
}

// Moves the ranges out of the request, because the server would otherwise apply them to the
// response a second time, without checking the size. The server's own request object is not const.
httplib::Ranges takeRanges(const httplib::Request& request) {
  return std::exchange(const_cast<httplib::Request&>(request).ranges, {});
}

}  // namespace

Result<std::unique_ptr<FileEndpoint>> FileEndpoint::create(const std::string& folder) {
  FileDescriptor descriptor(open(folder.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
  if (!descriptor) return systemError("cannot open " + folder);
  return std::unique_ptr<FileEndpoint>(new FileEndpoint(std::move(descriptor)));
}

void FileEndpoint::addTo(httplib::Server& server) {
  server.Get(std::string(kFilesPath) + ".*",
             [this](const httplib::Request& request, httplib::Response& response) {
               serve(request, response);
             });
}

void FileEndpoint::serve(const httplib::Request& request, httplib::Response& response) const {
  const auto ranges = takeRanges(request);
  const std::string path = request.path.substr(std::strlen(kFilesPath));
  const auto file = ServedFile::open(folder_.get(), path);
  if (!file) {
    response.status = 404;
    return;
  }
  response.status = 200;
  response.set_header("Accept-Ranges", "bytes");
  std::optional<Slice> slice = Slice{0, file->size()};
  // An If-Range never matches, since files have no validators. A request for several ranges gets
  // the whole file.
  if (request.method == "GET" && ranges.size() == 1 && !request.has_header("If-Range")) {
    const std::string size = std::to_string(file->size());
    slice = sliceOf(ranges.front(), file->size());
    response.status = slice ? 206 : 416;
    response.set_header("Content-Range",
                        !slice
                            ? "bytes */" + size
                            : "bytes " + std::to_string(slice->offset) + "-" +
                                  std::to_string(slice->offset + slice->length - 1) + "/" + size);
    if (!slice) return;
  }
  if (slice->length == 0) return response.set_content("", contentTypeOf(path));
  response.set_content_provider(
      slice->length, contentTypeOf(path),
      [file, from = slice->offset](size_t offset, size_t length, httplib::DataSink& sink) {
        return file->send(from + offset, length, sink);
      });
}

}  // namespace revwarden
