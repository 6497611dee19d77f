#pragma once

#include <string>

#include "base/result.h"

#include "ports/posix/owner.h"

namespace revwarden {

/// Copies a folder with all that is below it to a path where nothing is yet. Any thread.
///
/// - The copy is made in a hidden folder beside `destination` and renamed in one step: it is whole,
///   or there is nothing at `destination`, also for a process that is killed. Nothing is forced to
///   the disk: that would wait for everything that anybody has written, and a lost copy can be made
///   again from the archive. So the promise is not one for a machine that loses its power.
/// - `source` is a folder, not a link to one. Links are copied as links and nothing is followed out
///   of the source, whatever others exchange meanwhile. Files with several names become several
///   files. FIFOs, sockets and devices hold nothing and are left out.
/// - The copy is the copier's: what root copies belongs to root, as it lands where only an
///   administrator may write, and whoever unpacked it must not keep a hand in it.
/// - Any depth and number of files: only a few descriptors are open, names are kept only of folders
///   on the way.
///
/// On a Mac the folder is cloned in one call where the volume can, else copied by copyfile(3), and
/// nobody copies as root: the product's helper does what an administrator must allow. There
///
/// - files lose the bits that would run them as their owner or group;
/// - a copy between volumes may keep the group, where the user is in it;
/// - a clone may bring FIFOs and their kind along;
/// - the source is found by its path: links are still not followed, but of what others exchange
///   meanwhile the copy may hold the one or the other.
///
/// Absent on success, else the path and the reason in one text.
Result<> copyTree(const std::string& source, const std::string& destination);

/// The same for an owner of choice; not on a Mac.
Result<> copyTree(const std::string& source, const std::string& destination, Owner owner);

}  // namespace revwarden
