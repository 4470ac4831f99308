#include <windows.h>

#include <string>

#include "base/path.h"
#include "base/text.h"
#include "decode/plugin_folder.h"

namespace tessaroven {

std::u16string ExecutableFolder() {
  std::wstring buffer(32768, L'\0');
  const DWORD n = GetModuleFileNameW(nullptr, buffer.data(), static_cast<DWORD>(buffer.size()));
  if (n == 0 || n >= buffer.size()) return {};
  buffer.resize(n);
  return std::u16string(FolderOf(FromOsString(buffer)));
}

std::u16string DefaultPluginFolder() { return ExecutableFolder() + u"decoder\\"; }

std::vector<std::u16string> ListPluginLibraries(const std::u16string& folder) {
  std::vector<std::u16string> result;
  const std::u16string base = WithTrailingSeparator(folder);
  WIN32_FIND_DATAW data;
  HANDLE find = FindFirstFileW(ToOsString(base + u"*.dll").c_str(), &data);
  if (find == INVALID_HANDLE_VALUE) return result;
  do {
    if (data.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) continue;
    result.push_back(base + FromOsString(data.cFileName));
  } while (FindNextFileW(find, &data));
  FindClose(find);
  return result;
}

}  // namespace tessaroven
