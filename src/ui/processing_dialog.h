// dlgProcessing: the modal progress window of a long collection. It shows the
// collector's progress text ("N Files Added"), a busy bar and Cancel, and closes by
// itself when the collector's worker reports that it has finished.
//
// Main thread only; the worker writes the text through CollectProgress's lock.
#pragma once

#include "base/event.h"
#include "selection/folder_scanning.h"

class QWidget;

namespace tessaroven {

// Runs the dialog over `owner` until `finished` is set, or until Cancel (or closing
// the dialog) has set `cancel`.
void RunProcessingDialog(QWidget* owner, const CollectProgress& progress, XEvent& cancel, const XEvent& finished);

}  // namespace tessaroven
