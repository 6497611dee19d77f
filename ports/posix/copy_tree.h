#pragma once

#include <string>

#include "base/result.h"
#include "ports/posix/entry_copy.h"

namespace revwarden {

struct DirectoryEntry;

/// Copies a folder with all that is below it to a path where nothing is yet. Any thread.
///
/// - The copy is made in a staging directory beside `destination` and renamed in one step. So the
///   copy at `destination` is whole, or there is none, also if the process is killed. Data is not
///   forced to the disk, which would wait for the writes of all other processes; a copy lost by a
///   power failure can be made again from the archive.
/// - `source` is a folder, not a link to one. Links are copied as links and nothing is followed out
///   of the source, even if others rename folders at the same time. Files with several names become
///   several files. FIFOs, sockets and devices are left out.
/// - The copying user owns the copy. What root copies belongs to root: it goes where only an
///   administrator may write, so the user who unpacked it must not be able to change it later.
/// - Any depth and number of files needs only a few descriptors; names are kept only of folders on
///   the way.
///
/// On a Mac the folder is cloned in one call if the volume supports it, else copied by copyfile(3);
/// the copier is never root there, as the product's helper does what needs an administrator. Then
///
/// - files lose their set-user-ID and set-group-ID bits;
/// - a copy between volumes may keep the group if the user is a member of it;
/// - a clone may contain FIFOs, sockets and devices;
/// - the source is found by its path: links are still not followed, but of what others rename
///   at the same time the copy may contain either version.
///
/// The message of an error begins with the path that it is about. Error codes: "noSpace", with what
/// was needed and what is free; "notFolder" (`source` is a file or a link); else "".
Result<> copyTree(const std::string& source, const std::string& destination);

/// The same for a given owner. Linux only.
Result<> copyTree(const std::string& source, const std::string& destination, Owner owner);
Result<> copyTree(const std::string& source, const DirectoryEntry& destination, Owner owner);

}  // namespace revwarden
