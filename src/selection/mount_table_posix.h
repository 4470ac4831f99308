// The Linux mount table as drives: which mounts a user would call a drive, and of
// which Windows drive type.
//
// Listed: "/" always, and every other mount at a place the user browses, whose file
// system holds files. Left out:
//   - pseudo file systems (proc, sysfs, cgroup, devpts, autofs, fuse control, ...);
//   - mounts at or below the system's own folders: /proc, /sys, /dev, /run (but
//     /run/media, where the desktop mounts removable media, is listed), /boot, /efi,
//     /snap, /tmp, /usr, /var (container layers, snap images), /etc (files bound
//     into containers);
//   - mounts inside a hidden folder (a path part beginning with "."), which is how
//     a mount is kept out of the user's sight (~/.cache/..., AppImages).
// The exception to /run: the desktop's own network-share mount (gvfs) in the user's
// runtime folder, the one place it can be reached.
//
// Types, tried in this order:
//   Network Drive   cifs, smb3, smbfs, nfs, nfs4, sshfs, gvfs, davfs, afs, ceph, ...
//   CD-ROM Drive    iso9660, udf
//   RAM Disk        tmpfs, ramfs
//   Removable Disk  below /media or /run/media, or a block device the kernel calls
//                   removable (/sys/dev/block/MAJOR:MINOR/removable, or its disk's)
//   Hard Disk       everything else
// Bind mounts and btrfs sub-volumes are listed at their mount point like any mount:
// what counts is where the files appear, not where they come from. A path mounted
// twice is listed once, as the last mount there (the one on top) says. Drives come
// sorted by path, so "/" is first and a new mount's row does not depend on when it
// was mounted.
//
// Pure functions over text, so any table can be tested; ReadMountTable gives them the
// live one.
#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "selection/places.h"

namespace tessaroven {

// One line of /proc/self/mountinfo.
struct MountEntry {
  unsigned major = 0;
  unsigned minor = 0;
  std::u16string root;        // the part of the file system mounted ("/" for all of it)
  std::u16string mountPoint;  // as the OS names it, escapes decoded, no trailing "/"
  std::string fsType;         // "ext4", "fuse.sshfs"
  std::string source;         // "/dev/sda1", "//nas/music", "tmpfs"
};

// Decodes the kernel's octal escapes ("\040" is a space, "\134" a backslash); any
// other backslash is kept as it stands.
std::string DecodeMountEscapes(std::string_view field);

// The lines of a mountinfo text; malformed lines are skipped.
std::vector<MountEntry> ParseMountInfo(std::string_view text);

// This process's table (/proc/self/mountinfo), parsed; empty when it cannot be read.
std::vector<MountEntry> ReadMountTable();

// The mounts in sight: of a path mounted more than once only the last one, which
// lies on top of the others; in table order.
std::vector<MountEntry> TopMounts(std::vector<MountEntry> entries);

struct MountContext {
  // Whether the block device is removable; not set means none is.
  std::function<bool(unsigned major, unsigned minor)> isRemovableDevice;
  // The user's runtime folder with its trailing "/" ("/run/user/1000/"), where the
  // desktop mounts the network shares; empty when there is none.
  std::u16string userRuntimeFolder;
};

// Whether a file system type is one of the network's (the types listed as
// "Network Drive" above).
bool IsNetworkFileSystem(std::string_view fsType);

// The drive type of a mount, or kDriveUnknown when it is not a drive at all.
int ClassifyMount(const MountEntry& entry, const MountContext& context);

// The drives of a table: listed mounts as places of kind kDrive, sorted, one per path.
std::vector<Place> DrivesFromMounts(const std::vector<MountEntry>& entries, const MountContext& context);

}  // namespace tessaroven
