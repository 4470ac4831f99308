// Windows: the converter is started with CreateProcessW and one command line.

#include <windows.h>

#include <algorithm>
#include <string>

#include "base/path.h"
#include "base/text.h"
#include "selection/conversion.h"

namespace tessaroven {

struct ConverterProcess::Impl {
  HANDLE process = nullptr;
  HANDLE thread = nullptr;

  void Close() {
    if (thread) CloseHandle(thread);
    if (process) CloseHandle(process);
    thread = nullptr;
    process = nullptr;
  }
};

ConverterProcess::ConverterProcess() : impl_(std::make_unique<Impl>()) {}
ConverterProcess::~ConverterProcess() { impl_->Close(); }

bool ConverterProcess::Start(const std::u16string& converter, const std::u16string& arguments) {
  // CreateProcessW may write into the command line, so it gets a buffer of its own.
  std::wstring commandLine = L"\"" + ToOsString(converter) + L"\" " + ToOsString(arguments);
  STARTUPINFOW startup{};
  startup.cb = sizeof(startup);
  PROCESS_INFORMATION info{};
  if (!CreateProcessW(nullptr, commandLine.data(), nullptr, nullptr, FALSE, NORMAL_PRIORITY_CLASS, nullptr, nullptr,
                      &startup, &info)) {
    return false;
  }
  impl_->Close();
  impl_->process = info.hProcess;
  impl_->thread = info.hThread;
  return true;
}

bool ConverterProcess::WaitForExit(std::chrono::milliseconds timeout) {
  if (!impl_->process) return true;
  const auto ms =
      timeout.count() < 0 ? INFINITE : static_cast<DWORD>(std::min<long long>(timeout.count(), INFINITE - 1));
  // WAIT_FAILED counts as ended: a handle that cannot be waited for never will be.
  return WaitForSingleObject(impl_->process, ms) != WAIT_TIMEOUT;
}

std::uint32_t ConversionTickCount() { return GetTickCount(); }

bool DeleteListFile(const std::u16string& path) { return DeleteFileW(ToOsString(MakeLongPath(path)).c_str()) != 0; }

}  // namespace tessaroven
