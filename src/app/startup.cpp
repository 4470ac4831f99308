#include "app/startup.h"

#include <chrono>

#include "base/settings.h"
#include "base/known_folders.h"

namespace tessaroven {

std::u16string PerUserDataFolder() { return GetSpecialFolder(kFolderAppData) + u"qRV"; }

StartRole Startup(std::u16string_view commandLine, SingleInstance& instance, const StartupHooks& hooks) {
  const std::u16string dataFolder = PerUserDataFolder();
  if (hooks.installCrashReporting) hooks.installCrashReporting(dataFolder, commandLine);
  InitialiseCom();
  SetDefaultSettingsRoot(SettingsRoot::CurrentUser);
  SetDefaultSettingsKeyPath(kDefaultSettingsKeyPath);
  instance.Open();

  NamedEvent& accept = instance.AcceptEvent();
  if (!accept.ExistedBefore()) {
    instance.BecomeReceiver();
    return StartRole::FirstSelector;
  }
  // Existing but reset: the running selector is not ready yet, or busy handing
  // files to the converter. A window of our own loses nothing.
  if (!accept.Wait(std::chrono::milliseconds(0))) return StartRole::OwnWindow;
  const std::u16string argument = ExtractArgument(commandLine);
  if (argument.empty()) return StartRole::OwnWindow;
  // A sender whose receiver was killed while it waited takes over: its window opens
  // the path (and collects the one left in the block).
  if (!instance.Send(argument, hooks.handedOff)) return StartRole::FirstSelector;
  return StartRole::HandedOff;
}

int RunSelector(std::u16string_view commandLine, const StartupHooks& hooks) {
  SingleInstance instance;
  const StartRole role = Startup(commandLine, instance, hooks);
  if (role != StartRole::HandedOff && hooks.runMainWindow) hooks.runMainWindow(instance, role);
  instance.Close();
  UninitialiseCom();
  return 0;
}

}  // namespace tessaroven
