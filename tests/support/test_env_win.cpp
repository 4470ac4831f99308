#include <windows.h>

#include <cstdlib>
#include <filesystem>
#include <stdexcept>

#include "base/text.h"
#include "support/test_env.h"

namespace tessaroven::test {

const std::u16string& TestRoot() {
  static const std::u16string root = [] {
    wchar_t inherited[MAX_PATH * 2];
    if (GetEnvironmentVariableW(L"TESSAROVEN_TEST_ROOT", inherited, MAX_PATH * 2) > 0)
      return FromOsString(inherited);
    wchar_t temp[MAX_PATH + 1];
    GetTempPathW(MAX_PATH + 1, temp);
    std::wstring path;
    for (unsigned n = GetTickCount();; ++n) {
      path = std::wstring(temp) + L"tessaroven-test-" + std::to_wstring(n) + L"\\";
      if (CreateDirectoryW(path.c_str(), nullptr)) break;
      if (GetLastError() != ERROR_ALREADY_EXISTS) throw std::runtime_error("cannot create the test root folder");
    }
    const std::wstring tmp = path + L"tmp";
    CreateDirectoryW(tmp.c_str(), nullptr);
    SetEnvironmentVariableW(L"TEMP", tmp.c_str());
    SetEnvironmentVariableW(L"TMP", tmp.c_str());
    SetEnvironmentVariableW(L"TESSAROVEN_TEST_ROOT", path.c_str());
    return FromOsString(path);
  }();
  return root;
}

void RemoveTestRootIfOwner() {
  if (GetEnvironmentVariableW(L"TESSAROVEN_TEST_CHILD", nullptr, 0) > 0) return;
  std::error_code error;
  std::filesystem::remove_all(std::filesystem::path(ToOsString(TestRoot())), error);
}

// Through the C library, which passes the change on to the process environment, so
// that both getenv and the system's own calls (GetTempPathW) see it.
ScopedEnv::ScopedEnv(const char* name, const char* value) : name_(name) {
  const std::wstring wide = ToOsString(Utf8ToUtf16(name));
  if (const DWORD length = GetEnvironmentVariableW(wide.c_str(), nullptr, 0)) {
    std::wstring old(length, L'\0');
    old.resize(GetEnvironmentVariableW(wide.c_str(), old.data(), length));
    old_ = Utf16ToUtf8(FromOsString(old));
  }
  _wputenv_s(wide.c_str(), value ? ToOsString(Utf8ToUtf16(value)).c_str() : L"");
}

ScopedEnv::~ScopedEnv() {
  _wputenv_s(ToOsString(Utf8ToUtf16(name_)).c_str(), old_ ? ToOsString(Utf8ToUtf16(*old_)).c_str() : L"");
}

}  // namespace tessaroven::test
