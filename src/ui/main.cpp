// tessaroven: the file selector with its window.
//
// Start-up (data folder, crash reporting, settings root, the single-instance
// decision) is the core's; this file supplies the window parts it asks for.
#include <QApplication>

#include "app/single_instance.h"
#include "app/startup.h"
#include "crash/crash_handler.h"
#include "ui/crash_report_dialog.h"
#include "ui/main_window.h"
#include "ui/message_box_prompts.h"
#include "ui/qt_app.h"

int main(int argc, char** argv) {
  using namespace tessaroven;
  SetQtArguments(argc, argv);

  StartupHooks hooks;
  hooks.installCrashReporting = [](const std::u16string& dataFolder, std::u16string_view commandLine) {
    CrashHooks crash;
    crash.showReport = [](const std::u16string& dumpPath) { RunCrashReport(dumpPath); };
    InstallCrashHandler(commandLine, dataFolder, crash);
  };
  const std::u16string commandLine = ProcessCommandLine(argc, argv);
  hooks.runMainWindow = [&commandLine](SingleInstance& instance, StartRole) {
    // The diagnostic crash comes once start-up is complete and before the window,
    // so it works without a display too.
    ProvokeCrashIfAsked();
    EnsureQtApplication();
    static MessageBoxPrompts prompts;
    InstallUserPrompts(&prompts);
    {
      frmMain window(instance);
      window.show();
      // A path given to the first start (the desktop's "Open with") opens like one
      // handed over by a later start.
      if (const std::u16string path = ExtractArgument(commandLine); !path.empty() && path.front() != u'-')
        window.OpenPath(path);
      QApplication::exec();
    }
    InstallUserPrompts(nullptr);
  };
  return RunSelector(commandLine, hooks);
}
