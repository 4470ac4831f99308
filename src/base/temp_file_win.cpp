#include <windows.h>

#include <filesystem>
#include <string>

#include "base/path.h"
#include "base/temp_file.h"
#include "base/text.h"
#include "base/xfile.h"

namespace tessaroven {
namespace {

void DeleteOldFile(const std::u16string& path) {
  const std::wstring name = ToOsString(MakeLongPath(path));
  const DWORD attributes = GetFileAttributesW(name.c_str());
  if (attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_READONLY))
    SetFileAttributesW(name.c_str(), attributes & ~static_cast<DWORD>(FILE_ATTRIBUTE_READONLY));
  DeleteFileW(name.c_str());
}

void CreateFolderWithParents(std::u16string folder) {
  while (folder.size() > 1 && IsPathSeparator(folder.back()) && !IsRootPath(folder)) folder.pop_back();
  std::error_code error;
  std::filesystem::create_directories(std::filesystem::path(ToOsString(folder)), error);
}

}  // namespace

std::u16string TempFolder() {
  wchar_t buffer[MAX_PATH + 1] = {};
  const DWORD length = GetTempPathW(MAX_PATH, buffer);
  if (length == 0 || length > MAX_PATH) return u"C:\\Temp\\";
  return WithTrailingSeparator(FromOsString(std::wstring(buffer, length)));
}

bool CreateTempFile(std::u16string& path, std::u16string_view prefix) {
  if (!path.empty()) DeleteOldFile(path);
  const std::u16string folder = TempFolder();
  const std::u16string prefixText(prefix.empty() ? u"TMP" : prefix);

  wchar_t name[MAX_PATH + 1] = {};
  if (GetTempFileNameW(ToOsString(folder).c_str(), ToOsString(prefixText).c_str(), 0, name) != 0) {
    path = FromOsString(name);
  } else {
    // Typically a temporary folder that does not exist (yet): a name of our own.
    path = folder + prefixText + AsciiToUtf16(std::to_string(SharedRandomNumber(9999))) + u".tmp";
  }

  XFile file(path);
  if (!file.Open(GENERIC_WRITE, CREATE_ALWAYS, false)) {
    CreateFolderWithParents(folder);
    if (!file.Open(GENERIC_WRITE, CREATE_ALWAYS, false)) return false;
  }
  file.Close();
  return true;
}

}  // namespace tessaroven
