// The one QApplication of the window program, made on first need: a second start
// that only hands its path over never needs one (and so runs without a display).
#pragma once

namespace tessaroven {

// Remembers the process's arguments for the application object; call first in main.
void SetQtArguments(int argc, char** argv);

// Creates the application object unless one exists. Main thread only.
void EnsureQtApplication();

}  // namespace tessaroven
