// bench_replace ZIP UNPACKED NAME APPLICATION: replaces APPLICATION with NAME from the archive as
// an update job does. Prints the milliseconds for unpacking and for the rest.
#include <chrono>
#include <cstdio>
#include <optional>
#include <string>

#include "ports/linux/files/trash.h"
#include "ports/posix/copy_tree.h"
#include "ports/posix/spawn.h"

namespace revwarden::bench {
namespace {

using Clock = std::chrono::steady_clock;

double millisecondsBetween(Clock::time_point start, Clock::time_point end) {
  return std::chrono::duration<double, std::milli>(end - start).count();
}

bool isUnpacked(const std::string& archive, const std::string& folder) {
  SpawnRequest request;
  request.command = {"unzip", "-q", "-o", archive, "-d", folder};
  const Result<pid_t> unzip = spawn(request);
  return unzip && waitForEnd(*unzip) == 0;
}

int fail(const Error& error) {
  fprintf(stderr, "%s\n", error.message.c_str());
  return 1;
}

int replace(const std::string& archive, const std::string& folder, const std::string& name,
            const std::string& application) {
  const Clock::time_point start = Clock::now();
  if (!isUnpacked(archive, folder)) return 1;
  const Clock::time_point unpacked = Clock::now();
  const Result<std::string> trashed = moveToTrash(application);
  if (!trashed) return fail(trashed.error());
  const Result<> copied = copyTree(folder + "/" + name, application);
  const Clock::time_point end = Clock::now();
  if (!copied) return fail(copied.error());
  printf("%f %f\n", millisecondsBetween(start, unpacked), millisecondsBetween(unpacked, end));
  return 0;
}

}  // namespace
}  // namespace revwarden::bench

int main(int count, char** arguments) {
  if (count != 5) return 2;
  return revwarden::bench::replace(arguments[1], arguments[2], arguments[3], arguments[4]);
}
