// kovantrix: takes the selector's list of files and converts them, in a window on
// a desktop, in the terminal otherwise (or with --no-window).
#include "converter/console.h"
#include "converter/run.h"
#include "converter/window/converter_window.h"

int main(int argc, char** argv) {
  using namespace kovantrix;
  QuietFfmpeg();
  const Plan plan = Prepare(ProgramArguments(argc, argv));
  if (!plan.notes.empty()) WriteStderr(plan.notes);
  const bool window = !plan.arguments.noWindow && HasDisplay();
  if (plan.exitNow) {
    if (!plan.failure.empty()) {
      WriteStderr(plan.failure.back() == u'\n' ? plan.failure : plan.failure + u"\n");
      // A user who pressed Convert sees why nothing happens; bad usage is a
      // script's or a developer's affair.
      if (window && *plan.exitNow != kExitBadUsage) ShowFailureBox(argc, argv, plan.failure);
    }
    return *plan.exitNow;
  }
  return window ? RunWindow(argc, argv, plan) : RunInTerminal(plan);
}
