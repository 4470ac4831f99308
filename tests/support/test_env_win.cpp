#include <windows.h>

#include <filesystem>
#include <stdexcept>

#include "base/text.h"
#include "support/test_env.h"

namespace tessaroven::test {
namespace {

std::wstring QuoteArgument(const std::wstring& arg) {
  // The MSVC runtime's rules: backslashes are literal unless they precede a quote.
  std::wstring quoted = L"\"";
  std::size_t backslashes = 0;
  for (wchar_t c : arg) {
    if (c == L'\\') {
      ++backslashes;
      continue;
    }
    if (c == L'"') quoted.append(backslashes * 2 + 1, L'\\');
    else quoted.append(backslashes, L'\\');
    backslashes = 0;
    quoted.push_back(c);
  }
  quoted.append(backslashes * 2, L'\\');
  quoted.push_back(L'"');
  return quoted;
}

}  // namespace

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

std::vector<int> RunChildren(const std::string& name, const std::vector<std::vector<std::string>>& argsPerChild) {
  wchar_t self[MAX_PATH * 2];
  GetModuleFileNameW(nullptr, self, MAX_PATH * 2);
  SetEnvironmentVariableW(L"TESSAROVEN_TEST_CHILD", L"1");
  std::vector<PROCESS_INFORMATION> children;
  for (const auto& args : argsPerChild) {
    std::wstring line = QuoteArgument(self) + L" " + QuoteArgument(ToOsString(Utf8ToUtf16("--child=" + name)));
    for (const auto& arg : args) line += L" " + QuoteArgument(ToOsString(Utf8ToUtf16(arg)));
    STARTUPINFOW startup{};
    startup.cb = sizeof(startup);
    PROCESS_INFORMATION info{};
    if (!CreateProcessW(self, line.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr, &startup, &info))
      info.hProcess = nullptr;
    children.push_back(info);
  }
  SetEnvironmentVariableW(L"TESSAROVEN_TEST_CHILD", nullptr);
  std::vector<int> codes;
  for (auto& info : children) {
    DWORD code = static_cast<DWORD>(-1);
    if (info.hProcess) {
      WaitForSingleObject(info.hProcess, INFINITE);
      GetExitCodeProcess(info.hProcess, &code);
      CloseHandle(info.hProcess);
      CloseHandle(info.hThread);
    }
    codes.push_back(static_cast<int>(code));
  }
  return codes;
}

}  // namespace tessaroven::test
