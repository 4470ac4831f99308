#include <windows.h>

#include "base/path.h"
#include "base/text.h"
#include "selection/folder_enumeration.h"

namespace tessaroven {

CriticalErrorBoxesOff::CriticalErrorBoxesOff() : previous_(SetErrorMode(SEM_FAILCRITICALERRORS)) {}
CriticalErrorBoxesOff::~CriticalErrorBoxesOff() { SetErrorMode(previous_); }

struct FolderEnumeration::Platform {
  HANDLE find = INVALID_HANDLE_VALUE;
  WIN32_FIND_DATAW data{};
  bool pending = false;  // `data` holds an entry that Next has not reported yet
};

namespace {

std::uint64_t Ticks(const FILETIME& t) {
  return (static_cast<std::uint64_t>(t.dwHighDateTime) << 32) | t.dwLowDateTime;
}

}  // namespace

FolderEnumeration::FolderEnumeration(const std::u16string& folder) : platform_(std::make_unique<Platform>()) {
  // With the long-path prefix where the folder needs it, so deep folders are read too.
  const std::wstring pattern = ToOsString(MakeLongPath(folder + u"*.*"));
  platform_->find = FindFirstFileExW(pattern.c_str(), FindExInfoBasic, &platform_->data, FindExSearchNameMatch, nullptr,
                                     FIND_FIRST_EX_LARGE_FETCH);
  platform_->pending = platform_->find != INVALID_HANDLE_VALUE;
}

FolderEnumeration::~FolderEnumeration() {
  if (platform_->find != INVALID_HANDLE_VALUE) FindClose(platform_->find);
}

bool FolderEnumeration::IsOpen() const { return platform_->find != INVALID_HANDLE_VALUE; }

// Windows follows junctions like folders; a loop through them ends at the path
// length limit, as it does for every other program that walks folders there.
FolderIdentity FolderEnumeration::Identity() const { return {}; }

bool FolderEnumeration::Next() {
  if (platform_->find == INVALID_HANDLE_VALUE) return false;
  for (;;) {
    if (!platform_->pending && !FindNextFileW(platform_->find, &platform_->data)) return false;
    platform_->pending = false;
    const wchar_t* name = platform_->data.cFileName;
    if (name[0] == L'.' && (name[1] == 0 || (name[1] == L'.' && name[2] == 0))) continue;
    name_.assign(reinterpret_cast<const char16_t*>(name));
    isFolder_ = (platform_->data.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
    isHidden_ = (platform_->data.dwFileAttributes & FILE_ATTRIBUTE_HIDDEN) != 0;
    isRegular_ = !isFolder_ && (platform_->data.dwFileAttributes & FILE_ATTRIBUTE_DEVICE) == 0;
    return true;
  }
}

bool FolderEnumeration::Details(EntryDetails& details) const {
  if (platform_->find == INVALID_HANDLE_VALUE) return false;
  const WIN32_FIND_DATAW& data = platform_->data;
  details.times.lastWrite = Ticks(data.ftLastWriteTime);
  details.times.creation = Ticks(data.ftCreationTime);
  details.times.lastAccess = Ticks(data.ftLastAccessTime);
  details.times.creationIsBirthTime = true;
  details.size = (static_cast<std::uint64_t>(data.nFileSizeHigh) << 32) | data.nFileSizeLow;
  return true;
}

bool PathTooLongForSystem(std::u16string_view path) {
  // UNICODE_STRING's limit: 32,767 units, the "\\?\" prefix and the terminator included.
  return path.size() + 4 >= 32767;
}

}  // namespace tessaroven
