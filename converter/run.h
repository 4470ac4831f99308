// The run from the command line to the chosen face: arguments checked, the list
// read, the selector told, the choices settled.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "converter/batch.h"
#include "converter/choices.h"
#include "converter/protocol.h"

namespace kovantrix {

inline constexpr int kExitAllConverted = 0;
inline constexpr int kExitSomeNotConverted = 1;
inline constexpr int kExitBadUsage = 2;

struct Plan {
  Arguments arguments;
  std::vector<std::u16string> files;
  Choices choices;
  // Lines for the user that do not stop the run (ignored arguments, a selector
  // that is gone), each ending in a line break.
  std::u16string notes;
  // Set when the run ends before converting, with its exit code and the reason
  // (empty for --help, whose text is in `notes`).
  std::optional<int> exitNow;
  std::u16string failure;
};

// Parses, reads the list, signals the event (only after the list was read) and
// loads the choices of the profile, the command line's options on top.
Plan Prepare(const std::vector<std::u16string>& arguments);

int ExitCodeFor(const Tally& tally);

// FFmpeg speaks only through the converter's own messages.
void QuietFfmpeg();

// The terminal face over the whole run; the exit code.
int RunInTerminal(const Plan& plan);

}  // namespace kovantrix
