#include <windows.h>

#include "base/known_folders.h"
#include "base/text.h"
#include "ui/file_manager.h"

namespace tessaroven {

bool ShowInFileManager(const std::u16string& file) {
  const std::u16string explorer = GetSpecialFolder(kFolderWindows) + u"Explorer.exe";
  std::u16string commandLine = u"\"" + explorer + u"\" /n, /e, /select, \"" + file + u"\"";
  std::wstring application = ToOsString(explorer);
  std::wstring mutableLine = ToOsString(commandLine);
  STARTUPINFOW startup{};
  startup.cb = sizeof(startup);
  PROCESS_INFORMATION process{};
  if (!CreateProcessW(application.c_str(), mutableLine.data(), nullptr, nullptr, FALSE, NORMAL_PRIORITY_CLASS, nullptr,
                      nullptr, &startup, &process)) {
    return false;
  }
  CloseHandle(process.hThread);
  CloseHandle(process.hProcess);
  return true;
}

}  // namespace tessaroven
