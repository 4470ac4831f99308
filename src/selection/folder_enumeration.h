// One pass over the entries of a folder, the enumeration under every walk of the
// selector: expanding a tree node, listing a folder's files, collecting files.
//
// "." and ".." are never reported; everything else is, in the order the file system
// returns it (no sorting). A folder that cannot be opened (vanished, no permission,
// a drive without a medium) reports nothing, silently: the walks go on.
//
// What each entry costs: on Linux the name and type come from the directory read
// itself; only a link (or a file system that does not fill in the type) costs a
// stat to learn whether it leads to a folder, and times and size cost a stat when
// asked for (Details). On Windows the find data carries everything.
//
// One object per folder and thread; the name view is valid until the next Next().
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "filters/file_times.h"

namespace tessaroven {

// Where a folder lives on its device, so that a walk can tell a folder it already
// entered (through a symbolic link) from a new one. Zero: unknown.
struct FolderIdentity {
  std::uint64_t device = 0;
  std::uint64_t index = 0;
  bool Known() const { return device != 0 || index != 0; }
  bool operator==(const FolderIdentity&) const = default;
};

struct EntryDetails {
  FileTimes times;
  std::uint64_t size = 0;
};

// Keeps the system's "no disk in drive" boxes away while a walk touches drives
// (SetErrorMode on Windows, restored at the end of the scope); Linux has none.
class CriticalErrorBoxesOff {
 public:
  CriticalErrorBoxesOff();
  ~CriticalErrorBoxesOff();
  CriticalErrorBoxesOff(const CriticalErrorBoxesOff&) = delete;
  CriticalErrorBoxesOff& operator=(const CriticalErrorBoxesOff&) = delete;

 private:
  [[maybe_unused]] unsigned previous_ = 0;  // Windows only
};

class FolderEnumeration {
 public:
  // `folder` ends in the separator.
  explicit FolderEnumeration(const std::u16string& folder);
  ~FolderEnumeration();
  FolderEnumeration(const FolderEnumeration&) = delete;
  FolderEnumeration& operator=(const FolderEnumeration&) = delete;

  bool IsOpen() const;
  // The folder's identity (Linux: device and inode; Windows: unknown).
  FolderIdentity Identity() const;

  // Moves to the next entry; false at the end.
  bool Next();
  std::u16string_view Name() const { return name_; }
  // A folder, or on Linux a symbolic link that leads to one.
  bool IsFolder() const { return isFolder_; }
  // A regular file, or on Linux a symbolic link that leads to one: the only entries
  // that may be listed or handed to the converter. A dangling link, a named pipe, a
  // socket or a device is none (a pipe would hang the converter).
  bool IsRegularFile() const { return isRegular_; }
  // Linux: the name begins with "."; Windows: the hidden attribute.
  bool IsHidden() const { return isHidden_; }
  // Times and size of the current entry (a link's target on Linux). False when the
  // entry vanished meanwhile.
  bool Details(EntryDetails& details) const;

  struct Platform;

 private:
  std::unique_ptr<Platform> platform_;
  std::u16string name_;
  bool isFolder_ = false;
  bool isRegular_ = false;
  bool isHidden_ = false;
};

// Whether `path` is longer than the system can open (Linux: PATH_MAX, 4096 bytes
// with the terminator; Windows: 32,767 units with the long-path prefix). The walks
// report such paths instead of losing them silently.
bool PathTooLongForSystem(std::u16string_view path);

}  // namespace tessaroven
