#include <windows.h>

#include <cstring>

#include "base/text.h"
#include "decode/xdll.h"

namespace tessaroven {

bool XDLL::OpenLibrary(std::u16string_view path) {
  if (path.empty()) return false;
  // No "cannot find DLL" box from the system for a broken plug-in: it is skipped
  // silently.
  const UINT previous = SetErrorMode(SEM_FAILCRITICALERRORS | SEM_NOOPENFILEERRORBOX);
  module_ = LoadLibraryW(ToOsString(path).c_str());
  SetErrorMode(previous);
  return module_ != nullptr;
}

void XDLL::ReleaseLibrary() {
  if (module_ != nullptr) FreeLibrary(static_cast<HMODULE>(module_));
  module_ = nullptr;
}

void* XDLL::Symbol(const char* name) const {
  if (module_ == nullptr) return nullptr;
  FARPROC proc = GetProcAddress(static_cast<HMODULE>(module_), name);
  void* address = nullptr;
  static_assert(sizeof(proc) == sizeof(address));
  std::memcpy(&address, &proc, sizeof(address));
  return address;
}

}  // namespace tessaroven
