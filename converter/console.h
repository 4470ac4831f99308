// What the converter needs of the terminal and the desktop it runs on.
#pragma once

#include <atomic>
#include <string_view>

namespace kovantrix {

bool StderrIsTerminal();
// Columns of the terminal on stderr; 80 when it does not say.
int TerminalWidth();
// Whether a window can be shown (Linux: an X11 or Wayland display is named).
bool HasDisplay();
// Writes to stderr as the platform shows text; on Linux the escaped bytes of
// non-UTF-8 names come out as the bytes they were.
void WriteStderr(std::u16string_view text);
// The first Ctrl+C (or SIGTERM, SIGHUP on Linux) sets `flag`, so the run stops
// cleanly and removes its unfinished files; a second one ends the process at once.
void InstallInterruptHandler(std::atomic<bool>* flag);

}  // namespace kovantrix
