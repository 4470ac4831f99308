#include <windows.h>

#include <string>

#include "ffmpeg_reader_module.h"

namespace tessaroven::plugin {

void* LoadFfmpegReaderModule() {
  HMODULE self = nullptr;
  if (!GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                          reinterpret_cast<LPCWSTR>(&LoadFfmpegReaderModule), &self)) {
    return nullptr;
  }
  // Long paths included: the plug-in folder may sit deep below a user's profile.
  std::wstring path(32768, L'\0');
  const DWORD length = GetModuleFileNameW(self, path.data(), static_cast<DWORD>(path.size()));
  if (length == 0 || length >= path.size()) return nullptr;
  path.resize(length);
  const std::size_t slash = path.find_last_of(L"\\/");
  if (slash == std::wstring::npos) return nullptr;
  path.erase(slash + 1);
  path += L"ffmpeg\\reader.dll";
  return LoadLibraryW(path.c_str());
}

void* FfmpegReaderExport(void* module, const char* name) {
  return reinterpret_cast<void*>(GetProcAddress(static_cast<HMODULE>(module), name));
}

}  // namespace tessaroven::plugin
