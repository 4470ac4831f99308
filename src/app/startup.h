// The selector's process entry: the start-up order up to the single-instance
// decision, and the run that follows it.
//
//   1. the per-user data folder (application data + "qRV");
//   2. crash reporting, given that folder                    (hook)
//   3. COM (Windows only);
//   4. the settings root: current user, "Software\Orvandelle\Tessaroven";
//   5. the accept and pick-up events, 6. the channel;
//   7. the role: the first selector signals the accept event and opens the
//      window; a second start with a path hands it over (and ends); a second start
//      without one, or one that finds the accept event reset, opens a window of
//      its own, which listens on the channel too.
// The window (step 9) is a hook, so that the core needs no window toolkit.
//
// Runs on the process's main thread; the SingleInstance lives until RunSelector
// returns.
#pragma once

#include <functional>
#include <string>
#include <string_view>

#include "app/single_instance.h"

namespace tessaroven {

enum class StartRole {
  FirstSelector = 1,  // no selector ran: this one accepts paths
  OwnWindow = 2,      // a selector runs, but this start opens a window anyway
  HandedOff = 3,      // the path went to the running selector; nothing more to do
};

struct StartupHooks {
  // Step 2: installs crash reporting with the per-user data folder. The crash
  // restart's command line holds "crashed"; the hook deals with that itself.
  std::function<void(const std::u16string& dataFolder, std::u16string_view commandLine)> installCrashReporting;
  // Step 9: builds the main window and runs it until it closes. Its 50 ms tick
  // calls instance.Receive.
  std::function<void(SingleInstance& instance, StartRole role)> runMainWindow;
  // A sender's path is in the block and the channel mutex is still held: the one
  // point where the order of senders is certain (diagnostics and tests).
  std::function<void()> handedOff;
};

// The per-user data folder: the roaming application-data folder and "qRV".
std::u16string PerUserDataFolder();

// Steps 1 to 8. For HandedOff the hand-off is done when this returns.
StartRole Startup(std::u16string_view commandLine, SingleInstance& instance, const StartupHooks& hooks);

// The whole entry: Startup, then the window unless the path was handed off, then
// COM is released. Returns the process's exit code, always 0.
int RunSelector(std::u16string_view commandLine, const StartupHooks& hooks);

// COM for the user-interface thread on Windows; nothing on Linux.
void InitialiseCom();
void UninitialiseCom();

}  // namespace tessaroven
