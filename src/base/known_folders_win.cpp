#include <shlobj.h>
#include <windows.h>

#include "base/path.h"
#include "base/settings.h"
#include "base/known_folders.h"
#include "base/text.h"

namespace tessaroven {
namespace {

constexpr std::u16string_view kCurrentVersionKey = u"SOFTWARE\\Microsoft\\Windows\\CurrentVersion";

std::u16string ShellFolder(int id) {
  PIDLIST_ABSOLUTE list = nullptr;
  if (FAILED(SHGetSpecialFolderLocation(nullptr, id, &list)) || list == nullptr) return {};
  wchar_t buffer[MAX_PATH + 1] = {};
  const BOOL found = SHGetPathFromIDListW(list, buffer);
  CoTaskMemFree(list);
  return found ? FromOsString(buffer) : std::u16string();
}

std::u16string BelowShellFolder(int id, std::u16string_view name) {
  const std::u16string folder = ShellFolder(id);
  if (folder.empty()) return {};
  return WithTrailingSeparator(folder) + std::u16string(name);
}

std::u16string ProgramFilesSetting(std::u16string_view name) {
  return SettingsGetString(name, SettingsRoot::LocalMachine, kCurrentVersionKey);
}

std::u16string SystemFolder(UINT(WINAPI* query)(LPWSTR, UINT)) {
  wchar_t buffer[MAX_PATH + 1] = {};
  const UINT length = query(buffer, MAX_PATH + 1);
  if (length == 0 || length > MAX_PATH) return {};
  return FromOsString(std::wstring(buffer, length));
}

std::u16string FindFolder(int id) {
  switch (id) {
    case kFolderProgramFiles:
      return ProgramFilesSetting(u"ProgramFilesDir");
    case kFolderWindows:
      return SystemFolder(GetWindowsDirectoryW);
    case kFolderSystem:
      return SystemFolder(GetSystemDirectoryW);
    case kFolderProgramFiles64: {
      // Absent on 32-bit Windows, where the one program-files folder is the 64-bit one too.
      std::u16string folder = ProgramFilesSetting(u"ProgramW6432Dir");
      return folder.empty() ? ProgramFilesSetting(u"ProgramFilesDir") : folder;
    }
    default:
      break;
  }
  if (std::u16string folder = ShellFolder(id); !folder.empty()) return folder;
  // Older systems and stripped profiles lack some folders; these are where
  // Windows kept them before the shell knew them.
  switch (id) {
    case kFolderMyMusic:
      return BelowShellFolder(kFolderDocuments, u"My Music\\");
    case kFolderMyVideos:
      return BelowShellFolder(kFolderDocuments, u"My Video\\");
    case kFolderPublicMusic:
      return BelowShellFolder(kFolderPublicDocuments, u"My Music\\");
    case kFolderPublicVideos:
      return BelowShellFolder(kFolderPublicDocuments, u"My Video\\");
    case kFolderAppData:
      return BelowShellFolder(kFolderUserProfile, u"Application Data\\");
    default:
      return {};
  }
}

}  // namespace

std::u16string GetSpecialFolder(int id, std::optional<std::u16string_view> fallback) {
  const std::u16string folder = FindFolder(id);
  if (!folder.empty()) return WithTrailingSeparator(folder);
  return fallback ? std::u16string(*fallback) : std::u16string(u"C:\\Error");
}

}  // namespace tessaroven
