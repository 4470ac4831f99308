#include <signal.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>

#include "base/text.h"
#include "converter/console.h"

namespace kovantrix {
namespace {

std::atomic<bool>* interruptFlag = nullptr;

void OnInterrupt(int signal) {
  if (interruptFlag != nullptr && !interruptFlag->exchange(true)) return;
  ::signal(signal, SIG_DFL);
  ::raise(signal);
}

}  // namespace

bool StderrIsTerminal() { return ::isatty(STDERR_FILENO) == 1; }

int TerminalWidth() {
  winsize size{};
  if (::ioctl(STDERR_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0) return size.ws_col;
  return 80;
}

bool HasDisplay() {
  const char* x11 = std::getenv("DISPLAY");
  const char* wayland = std::getenv("WAYLAND_DISPLAY");
  return (x11 != nullptr && *x11 != '\0') || (wayland != nullptr && *wayland != '\0');
}

void WriteStderr(std::u16string_view text) {
  const std::string bytes = tessaroven::Utf16ToUtf8(text);
  std::fwrite(bytes.data(), 1, bytes.size(), stderr);
  std::fflush(stderr);
}

void InstallInterruptHandler(std::atomic<bool>* flag) {
  interruptFlag = flag;
  struct sigaction action {};
  action.sa_handler = OnInterrupt;
  sigemptyset(&action.sa_mask);
  for (int signal : {SIGINT, SIGTERM, SIGHUP}) ::sigaction(signal, &action, nullptr);
}

}  // namespace kovantrix
