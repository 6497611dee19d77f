// bench_download URL FILE: downloads a file as an update job does, for bench/download. Prints the
// number of progress reports (at most one in 0.04 seconds), the number of turns, and the peak
// memory in KiB.
#include <chrono>
#include <cstdio>
#include <fstream>
#include <string>

#include "ports/posix/curl_downloads.h"

namespace revwarden::bench {
namespace {

// In KiB. Not ru_maxrss, which includes the memory of the parent process before exec.
long peakMemory() {
  std::ifstream status("/proc/self/status");
  std::string word;
  while (status >> word && word != "VmHWM:") {
  }
  long size = 0;
  status >> size;
  return size;
}

class Job final : public URLDownloadDelegate {
 public:
  explicit Job(std::string file) : file_(std::move(file)) {}

  bool run(const std::string& url) {
    CurlDownloads downloads;
    const auto download = downloads.beginDownload(url, *this);
    while (!isOver_ && download->runOneTurn()) ++turns_;
    std::printf("%zu %zu %ld\n", reports_, turns_, peakMemory());
    return isFinished_;
  }

 private:
  void download_didReceiveResponse(const URLDownloadResponse&) override {}
  std::string download_decideDestinationWithSuggestedFilename(
      const std::optional<std::string>&) override {
    return file_;
  }
  void download_didReceiveDataOfLength(int64_t length) override {
    bytes_ += length;
    const auto now = std::chrono::steady_clock::now();
    if (now - lastReport_ <= std::chrono::milliseconds(40)) return;
    lastReport_ = now;
    ++reports_;
  }
  void downloadDidFinish() override { isOver_ = isFinished_ = true; }
  void download_didFailWithError(const URLDownloadError& error) override {
    isOver_ = true;
    std::fprintf(stderr, "%s; %s\n", error.localizedFailureReason.value_or("").c_str(),
                 error.localizedDescription.value_or("").c_str());
  }

  const std::string file_;
  std::chrono::steady_clock::time_point lastReport_;
  int64_t bytes_ = 0;
  size_t reports_ = 0;
  size_t turns_ = 0;
  bool isOver_ = false;
  bool isFinished_ = false;
};

}  // namespace
}  // namespace revwarden::bench

int main(int argc, char** argv) {
  if (argc != 3) {
    std::fputs("usage: bench_download URL FILE\n", stderr);
    return 2;
  }
  return revwarden::bench::Job(argv[2]).run(argv[1]) ? 0 : 1;
}
