// Shows a file in the desktop's file manager, in a new window with the file
// selected, for the crash report's "Crash Dump Location" button.
//
// Windows starts Explorer with "/select"; Linux asks the file manager over D-Bus
// (org.freedesktop.FileManager1.ShowItems, which Nautilus, Dolphin, Nemo, Caja and
// Thunar answer) and, where no file manager answers, opens the folder with the
// desktop's opener. Call on the thread that runs the Qt event loop.
#pragma once

#include <string>

namespace tessaroven {

// False when nothing could be started at all.
bool ShowInFileManager(const std::u16string& file);

}  // namespace tessaroven
