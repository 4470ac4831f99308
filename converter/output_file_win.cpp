// Windows: CREATE_NEW for the exclusive creation; MoveFileExW without
// MOVEFILE_REPLACE_EXISTING refuses an existing target in one step.

#include <windows.h>

#include "base/path.h"
#include "base/text.h"
#include "converter/output_file.h"

namespace kovantrix {
namespace {

std::u16string Reason(DWORD code) {
  wchar_t* text = nullptr;
  FormatMessageW(FORMAT_MESSAGE_ALLOCATE_BUFFER | FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS, nullptr,
                 code, 0, reinterpret_cast<wchar_t*>(&text), 0, nullptr);
  std::u16string reason = text ? tessaroven::FromOsString(text) : u"error " + tessaroven::AsciiToUtf16(std::to_string(code));
  if (text) LocalFree(text);
  while (!reason.empty() && (reason.back() == u'\n' || reason.back() == u'\r' || reason.back() == u'.')) reason.pop_back();
  return reason;
}

std::wstring Native(const std::u16string& path) { return tessaroven::ToOsString(tessaroven::MakeLongPath(path)); }

}  // namespace

bool CreateExclusive(const std::u16string& path, std::u16string& error) {
  HANDLE file = CreateFileW(Native(path).c_str(), GENERIC_WRITE, 0, nullptr, CREATE_NEW, FILE_ATTRIBUTE_NORMAL, nullptr);
  if (file == INVALID_HANDLE_VALUE) {
    error = u"'" + path + u"' cannot be created: " + Reason(GetLastError());
    return false;
  }
  CloseHandle(file);
  return true;
}

PublishResult MoveIntoPlace(const std::u16string& from, const std::u16string& to, bool replace, std::u16string& error) {
  const DWORD flags = MOVEFILE_WRITE_THROUGH | (replace ? MOVEFILE_REPLACE_EXISTING : 0);
  if (MoveFileExW(Native(from).c_str(), Native(to).c_str(), flags)) return PublishResult::kPublished;
  const DWORD code = GetLastError();
  if (!replace && (code == ERROR_ALREADY_EXISTS || code == ERROR_FILE_EXISTS)) {
    error = u"'" + to + u"' appeared while converting (another converter?); it was kept as it is.";
    return PublishResult::kTargetExists;
  }
  error = u"'" + to + u"' cannot be written: " + Reason(code);
  return PublishResult::kFailed;
}

bool RemoveFile(const std::u16string& path) { return DeleteFileW(Native(path).c_str()) != 0; }

unsigned long CurrentProcessId() { return GetCurrentProcessId(); }

}  // namespace kovantrix
