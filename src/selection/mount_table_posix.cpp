#include "selection/mount_table_posix.h"

#include <algorithm>
#include <charconv>
#include <iterator>
#include <fstream>
#include <map>
#include <set>
#include <sstream>

#include "base/text.h"

namespace tessaroven {
namespace {

// File systems that hold no user files: kernel interfaces, control mounts, and the
// automounter's placeholders (the real mount appears on top once it is reached).
constexpr std::string_view kPseudoTypes[] = {
    "proc",       "sysfs",   "cgroup",  "cgroup2",     "cpuset",     "devpts",       "devtmpfs",
    "securityfs", "debugfs", "tracefs", "pstore",      "bpf",        "mqueue",       "hugetlbfs",
    "configfs",   "fusectl", "autofs",  "binfmt_misc", "efivarfs",   "nsfs",         "rpc_pipefs",
    "selinuxfs",  "smackfs", "rootfs",  "fuse.portal", "fuse.lxcfs", "fuse.snapfuse"};

constexpr std::string_view kNetworkTypes[] = {"cifs",
                                              "smb3",
                                              "smbfs",
                                              "nfs",
                                              "nfs4",
                                              "sshfs",
                                              "fuse.sshfs",
                                              "gvfs",
                                              "fuse.gvfsd-fuse",
                                              "fuse.gvfs-fuse-daemon",
                                              "davfs",
                                              "fuse.davfs2",
                                              "afs",
                                              "ceph",
                                              "fuse.glusterfs",
                                              "fuse.rclone",
                                              "vboxsf"};

// The desktop's mount of the user's network shares, inside the runtime folder.
constexpr std::string_view kDesktopShareTypes[] = {"fuse.gvfsd-fuse", "fuse.gvfs-fuse-daemon"};

// The system's own trees; a mount at or below one of these is not the user's.
constexpr std::u16string_view kSystemFolders[] = {u"/proc", u"/sys", u"/dev", u"/run", u"/boot", u"/efi",
                                                  u"/snap", u"/tmp", u"/usr", u"/var", u"/etc"};

template <typename T, std::size_t N>
bool OneOf(const T (&list)[N], const T& value) {
  return std::find(std::begin(list), std::end(list), value) != std::end(list);
}

// `path` is `folder` or lies below it (`folder` without a trailing "/").
bool AtOrBelow(std::u16string_view path, std::u16string_view folder) {
  return path.substr(0, folder.size()) == folder && (path.size() == folder.size() || path[folder.size()] == u'/');
}

bool InHiddenFolder(std::u16string_view path) { return path.find(u"/.") != std::u16string_view::npos; }

bool IsUserVisible(const MountEntry& entry, const MountContext& context) {
  const std::u16string_view path = entry.mountPoint;
  if (path == u"/") return true;
  if (path.empty() || path[0] != u'/' || InHiddenFolder(path)) return false;
  if (OneOf(kDesktopShareTypes, std::string_view(entry.fsType))) {
    std::u16string_view runtime = context.userRuntimeFolder;
    while (runtime.size() > 1 && runtime.back() == u'/') runtime.remove_suffix(1);
    return !runtime.empty() && AtOrBelow(path, runtime);
  }
  if (AtOrBelow(path, u"/run/media")) return path.size() > std::u16string_view(u"/run/media").size();
  return std::none_of(std::begin(kSystemFolders), std::end(kSystemFolders),
                      [&](std::u16string_view folder) { return AtOrBelow(path, folder); });
}

std::vector<std::string_view> Fields(std::string_view line) {
  std::vector<std::string_view> fields;
  std::size_t at = 0;
  while (at < line.size()) {
    const std::size_t end = std::min(line.find(' ', at), line.size());
    if (end > at) fields.push_back(line.substr(at, end - at));
    at = end + 1;
  }
  return fields;
}

bool ParseUnsigned(std::string_view text, unsigned& value) {
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  return error == std::errc() && end == text.data() + text.size();
}

bool ParseLine(std::string_view line, MountEntry& entry) {
  // ID PARENT MAJOR:MINOR ROOT MOUNT-POINT OPTIONS [OPTIONAL...] - TYPE SOURCE SUPER-OPTIONS
  const std::vector<std::string_view> fields = Fields(line);
  if (fields.size() < 9) return false;
  unsigned id = 0;
  unsigned parent = 0;
  if (!ParseUnsigned(fields[0], id) || !ParseUnsigned(fields[1], parent)) return false;
  const std::size_t colon = fields[2].find(':');
  if (colon == std::string_view::npos || !ParseUnsigned(fields[2].substr(0, colon), entry.major) ||
      !ParseUnsigned(fields[2].substr(colon + 1), entry.minor))
    return false;
  // The optional fields end at a lone "-"; the three after it are the file system's.
  std::size_t dash = 6;
  while (dash < fields.size() && fields[dash] != "-") ++dash;
  if (dash + 2 >= fields.size()) return false;
  entry.root = FromOsString(DecodeMountEscapes(fields[3]));
  entry.mountPoint = FromOsString(DecodeMountEscapes(fields[4]));
  entry.fsType = DecodeMountEscapes(fields[dash + 1]);
  entry.source = DecodeMountEscapes(fields[dash + 2]);
  return !entry.mountPoint.empty();
}

bool PathLess(const Place& a, const Place& b) {
  const int folded = AsciiFoldCompare(a.path, b.path);
  return folded != 0 ? folded < 0 : a.path < b.path;
}

}  // namespace

std::string DecodeMountEscapes(std::string_view field) {
  std::string out;
  out.reserve(field.size());
  for (std::size_t i = 0; i < field.size(); ++i) {
    const auto octal = [&](std::size_t at) { return at < field.size() && field[at] >= '0' && field[at] <= '7'; };
    if (field[i] == '\\' && octal(i + 1) && octal(i + 2) && octal(i + 3)) {
      const int value = (field[i + 1] - '0') * 64 + (field[i + 2] - '0') * 8 + (field[i + 3] - '0');
      if (value < 256) {
        out.push_back(static_cast<char>(value));
        i += 3;
        continue;
      }
    }
    out.push_back(field[i]);
  }
  return out;
}

std::vector<MountEntry> ParseMountInfo(std::string_view text) {
  std::vector<MountEntry> entries;
  std::size_t at = 0;
  while (at < text.size()) {
    const std::size_t end = std::min(text.find('\n', at), text.size());
    MountEntry entry;
    if (ParseLine(text.substr(at, end - at), entry)) entries.push_back(std::move(entry));
    at = end + 1;
  }
  return entries;
}

std::vector<MountEntry> ReadMountTable() {
  std::ifstream file("/proc/self/mountinfo", std::ios::binary);
  std::ostringstream content;
  if (file) content << file.rdbuf();
  return ParseMountInfo(content.str());
}

std::vector<MountEntry> TopMounts(std::vector<MountEntry> entries) {
  std::set<std::u16string> seen;
  std::vector<MountEntry> top;
  for (auto entry = entries.rbegin(); entry != entries.rend(); ++entry)
    if (seen.insert(entry->mountPoint).second) top.push_back(std::move(*entry));
  std::reverse(top.begin(), top.end());
  return top;
}

bool IsNetworkFileSystem(std::string_view fsType) { return OneOf(kNetworkTypes, fsType); }

int ClassifyMount(const MountEntry& entry, const MountContext& context) {
  const std::string_view type = entry.fsType;
  if (OneOf(kPseudoTypes, type) || !IsUserVisible(entry, context)) return kDriveUnknown;
  if (OneOf(kNetworkTypes, type)) return kDriveRemote;
  if (type == "iso9660" || type == "udf") return kDriveCdRom;
  if (type == "tmpfs" || type == "ramfs") return kDriveRamDisk;
  if (AtOrBelow(entry.mountPoint, u"/media") || AtOrBelow(entry.mountPoint, u"/run/media")) return kDriveRemovable;
  if (entry.major != 0 && context.isRemovableDevice && context.isRemovableDevice(entry.major, entry.minor))
    return kDriveRemovable;
  return kDriveFixed;
}

std::vector<Place> DrivesFromMounts(const std::vector<MountEntry>& entries, const MountContext& context) {
  // Keyed by mount point: a later mount at the same path hides the earlier one.
  std::map<std::u16string, int> typeByPath;
  for (const MountEntry& entry : entries) typeByPath[entry.mountPoint] = ClassifyMount(entry, context);

  std::vector<Place> drives;
  for (const auto& [mountPoint, type] : typeByPath) {
    if (type == kDriveUnknown) continue;
    Place drive;
    drive.kind = PlaceKind::kDrive;
    drive.driveType = type;
    drive.path = mountPoint == u"/" ? mountPoint : mountPoint + u'/';
    drive.label = DriveNodeText({}, type, mountPoint);
    drives.push_back(std::move(drive));
  }
  std::sort(drives.begin(), drives.end(), PathLess);
  return drives;
}

}  // namespace tessaroven
