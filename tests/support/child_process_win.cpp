#include <windows.h>

#include "support/child_process.h"
#include "base/text.h"

namespace tessaroven::test {
namespace {

// The MSVC runtime's rules: backslashes are literal unless they precede a quote.
std::wstring QuoteArgument(const std::wstring& arg) {
  std::wstring quoted = L"\"";
  std::size_t backslashes = 0;
  for (wchar_t c : arg) {
    if (c == L'\\') {
      ++backslashes;
      continue;
    }
    quoted.append(c == L'"' ? backslashes * 2 + 1 : backslashes, L'\\');
    backslashes = 0;
    quoted.push_back(c);
  }
  quoted.append(backslashes * 2, L'\\');
  quoted.push_back(L'"');
  return quoted;
}

}  // namespace

struct ChildProcess::Impl {
  PROCESS_INFORMATION info{};
  int code = -1;
};

ChildProcess::ChildProcess(const std::string& role, const std::vector<std::string>& args)
    : impl_(std::make_unique<Impl>()) {
  wchar_t self[MAX_PATH * 2];
  GetModuleFileNameW(nullptr, self, MAX_PATH * 2);
  std::wstring line = QuoteArgument(self) + L" " + QuoteArgument(ToOsString(Utf8ToUtf16("--child=" + role)));
  for (const auto& arg : args) line += L" " + QuoteArgument(ToOsString(Utf8ToUtf16(arg)));
  STARTUPINFOW startup{};
  startup.cb = sizeof(startup);
  SetEnvironmentVariableW(L"TESSAROVEN_TEST_CHILD", L"1");
  if (!CreateProcessW(self, line.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr, &startup, &impl_->info))
    impl_->info = {};
  SetEnvironmentVariableW(L"TESSAROVEN_TEST_CHILD", nullptr);
}

ChildProcess::~ChildProcess() {
  if (impl_->info.hProcess) {
    Kill();
    Wait();
  }
}

bool ChildProcess::Started() const { return impl_->info.hProcess != nullptr || impl_->code != -1; }

int ChildProcess::Wait() {
  if (!impl_->info.hProcess) return impl_->code;
  WaitForSingleObject(impl_->info.hProcess, INFINITE);
  DWORD code = static_cast<DWORD>(-1);
  GetExitCodeProcess(impl_->info.hProcess, &code);
  CloseHandle(impl_->info.hProcess);
  CloseHandle(impl_->info.hThread);
  impl_->info = {};
  impl_->code = static_cast<int>(code);
  return impl_->code;
}

void ChildProcess::Kill() {
  if (impl_->info.hProcess) TerminateProcess(impl_->info.hProcess, 137);
}

}  // namespace tessaroven::test
