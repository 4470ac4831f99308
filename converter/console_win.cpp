#include <io.h>
#include <windows.h>

#include <cstdio>

#include "base/text.h"
#include "converter/console.h"

namespace kovantrix {
namespace {

std::atomic<bool>* interruptFlag = nullptr;

BOOL WINAPI OnControl(DWORD) {
  // TRUE keeps the process alive for a clean stop; the second press ends it.
  return interruptFlag != nullptr && !interruptFlag->exchange(true) ? TRUE : FALSE;
}

}  // namespace

bool StderrIsTerminal() { return _isatty(_fileno(stderr)) != 0; }

int TerminalWidth() {
  CONSOLE_SCREEN_BUFFER_INFO info{};
  if (GetConsoleScreenBufferInfo(GetStdHandle(STD_ERROR_HANDLE), &info)) return info.srWindow.Right - info.srWindow.Left + 1;
  return 80;
}

bool HasDisplay() { return true; }

void WriteStderr(std::u16string_view text) {
  HANDLE handle = GetStdHandle(STD_ERROR_HANDLE);
  DWORD written = 0;
  DWORD mode = 0;
  if (GetConsoleMode(handle, &mode)) {
    WriteConsoleW(handle, text.data(), static_cast<DWORD>(text.size()), &written, nullptr);
    return;
  }
  const std::string bytes = tessaroven::Utf16ToUtf8(text);
  WriteFile(handle, bytes.data(), static_cast<DWORD>(bytes.size()), &written, nullptr);
}

void InstallInterruptHandler(std::atomic<bool>* flag) {
  interruptFlag = flag;
  SetConsoleCtrlHandler(OnControl, TRUE);
}

}  // namespace kovantrix
