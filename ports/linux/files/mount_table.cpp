#include "ports/linux/files/mount_table.h"

#include <fcntl.h>
#include <linux/magic.h>
#include <poll.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <sys/vfs.h>
#include <unistd.h>

#include <algorithm>
#include <charconv>
#include <iterator>

namespace revwarden {
namespace {

constexpr std::string_view kNetworkTypes[] = {
    "9p",   "afpfs", "afs",       "auristorfs", "beegfs", "ceph",  "cifs",
    "coda", "davfs", "glusterfs", "gpfs",       "lustre", "ncp",   "ncpfs",
    "nfs",  "nfs4",  "orangefs",  "pvfs2",      "smb3",   "smbfs", "sshfs"};

// Programs whose file systems, of type "fuse.NAME", are remote or not stored.
constexpr std::string_view kRemoteFusePrograms[] = {
    "sshfs",     "rclone",    "s3fs",      "s3ql",       "goofys",   "gcsfuse",
    "blobfuse",  "blobfuse2", "curlftpfs", "davfs",      "davfs2",   "glusterfs",
    "ceph",      "ceph-fuse", "mfs",       "moosefs",    "lizardfs", "juicefs",
    "seaweedfs", "smbnetfs",  "onedriver", "gvfsd-fuse", "kio-fuse", "google-drive-ocamlfuse",
    "portal",    "lxcfs",     "fuse_dfs"};

constexpr std::string_view kKernelTypes[] = {
    "autofs",    "binder",  "binfmt_misc", "bpf",        "cgroup",     "cgroup2",    "configfs",
    "cpuset",    "debugfs", "devpts",      "devtmpfs",   "efivarfs",   "functionfs", "fusectl",
    "hugetlbfs", "mqueue",  "nfsd",        "nsfs",       "openpromfs", "pipefs",     "proc",
    "pstore",    "resctrl", "rpc_pipefs",  "securityfs", "selinuxfs",  "smackfs",    "sockfs",
    "sysfs",     "tracefs", "xenfs"};

// The types of statfs(2) for those that can be the root folder.
constexpr uint32_t kRemoteMagics[] = {
    AFS_SUPER_MAGIC, AFS_FS_MAGIC,    CEPH_SUPER_MAGIC, CIFS_SUPER_MAGIC, CODA_SUPER_MAGIC,
    NFS_SUPER_MAGIC, SMB_SUPER_MAGIC, SMB2_SUPER_MAGIC, V9FS_MAGIC,       0x0BD00BD0 /* Lustre */};
constexpr uint32_t kKernelMagics[] = {PROC_SUPER_MAGIC, SYSFS_MAGIC, CGROUP_SUPER_MAGIC,
                                      CGROUP2_SUPER_MAGIC};

bool contains(const auto& list, const auto& value) {
  return std::find(std::begin(list), std::end(list), value) != std::end(list);
}

bool storesFilesLocally(std::string_view type) {
  constexpr std::string_view kFuse = "fuse.";
  if (type.starts_with(kFuse)) return !contains(kRemoteFusePrograms, type.substr(kFuse.size()));
  return !contains(kNetworkTypes, type) && !contains(kKernelTypes, type);
}

std::string_view nextField(std::string_view& line) {
  const size_t end = std::min(line.find(' '), line.size());
  const std::string_view field = line.substr(0, end);
  line.remove_prefix(std::min(end + 1, line.size()));
  return field;
}

template <typename Number>
bool readNumber(std::string_view text, Number& number) {
  const auto result = std::from_chars(text.data(), text.data() + text.size(), number);
  return result.ec == std::errc() && result.ptr == text.data() + text.size();
}

// A line is "ID PARENT MAJOR:MINOR ROOT PLACE OPTIONS [TAG...] - TYPE SOURCE OPTIONS". Spaces in a
// field are escaped.
void addMount(std::string_view line, Mounts& mounts) {
  uint64_t id = 0;
  unsigned majorNumber = 0, minorNumber = 0;
  if (!readNumber(nextField(line), id)) return;
  nextField(line);
  const std::string_view device = nextField(line);
  const size_t colon = device.find(':');
  if (colon == device.npos || !readNumber(device.substr(0, colon), majorNumber) ||
      !readNumber(device.substr(colon + 1), minorNumber)) {
    return;
  }
  const size_t separator = line.find(" - ");
  if (separator == line.npos) return;
  line.remove_prefix(separator + 3);
  mounts[id] = {makedev(majorNumber, minorNumber), storesFilesLocally(nextField(line))};
}

}  // namespace

Mounts mountsListedIn(std::string_view mountinfo) {
  Mounts mounts;
  while (!mountinfo.empty()) {
    const size_t end = std::min(mountinfo.find('\n'), mountinfo.size());
    addMount(mountinfo.substr(0, end), mounts);
    mountinfo.remove_prefix(std::min(end + 1, mountinfo.size()));
  }
  return mounts;
}

std::optional<Mount> unlistedMountAtPath(const std::string& path) {
  struct statfs fileSystem;
  struct stat facts;
  if (statfs(path.c_str(), &fileSystem) != 0 || stat(path.c_str(), &facts) != 0) return {};
  const auto magic = static_cast<uint32_t>(fileSystem.f_type);
  return Mount{facts.st_dev, !contains(kRemoteMagics, magic) && !contains(kKernelMagics, magic)};
}

std::shared_ptr<const Mounts> MountTable::current() {
  const std::lock_guard lock(mutex_);
  if (!table_) table_ = FileDescriptor(open("/proc/self/mountinfo", O_RDONLY | O_CLOEXEC));
  if (!mounts_ || hasChanged()) readAgain();
  return mounts_ ? mounts_ : std::make_shared<const Mounts>();
}

// The kernel reports each change once to each open descriptor. So a change between this call and
// the reading is reported by the next call.
bool MountTable::hasChanged() const {
  pollfd table = {table_.get(), POLLPRI, 0};
  return poll(&table, 1, 0) > 0;
}

void MountTable::readAgain() {
  std::string text;
  const bool isWhole = lseek(table_.get(), 0, SEEK_SET) == 0 && readToEnd(table_.get(), text);
  mounts_ = isWhole ? std::make_shared<const Mounts>(mountsListedIn(text)) : nullptr;
}

}  // namespace revwarden
