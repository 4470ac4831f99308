// The hand-off to the converter: what happens when the user presses Convert.
//
// The selector gathers every chosen audio file (the collector of
// folder_scanning.h), writes the paths to a temporary list file, starts the
// converter program that sits beside the selector's executable, hides its window
// once the converter signals a named event ("I have read the list"), waits for the
// converter to end, then shows its window again, refreshes the tree and deletes
// the list file. The selector never converts anything itself.
//
// The converter's side of the contract:
//   command line   "<converter>" -list_to_conv="<list file>"
//                  -signal_event_got_files="<event name>" -centeronwnd=<window>
//                  [-additionalprofile="<profile>"]
//   list file      UTF-16LE without a byte-order mark; every path followed by CR LF,
//                  the last one too; nothing else.
//   signal event   a named manual-reset event "fsqrv-<tick count>"; the converter
//                  opens it by name and sets it once it has read the list.
//
// Quotes inside values: the Windows command-line rules would end a quoted group at a
// quote in a value (and a backslash right before the closing quote would swallow
// it), cutting the argument short. Values are therefore escaped the way those rules
// undo: a quote becomes \" and the backslashes right before a quote, or at the end
// of a value, are doubled. Windows paths hold no quotes and none of the values ends
// in a backslash, so there the text is exactly the plain format; on Linux, where a
// file name may hold a quote, the converter still gets the path byte for byte.
//
// On Linux there is no command line: the converter gets an argument vector (no
// shell), split from the argument text by the Windows rules, so each argument is
// what the converter would get on Windows.
//
// Threads: Convert and GatherFiles run on the user-interface thread and block it
// until the converter has ended (the collector's own worker aside); the host's
// calls all come on that thread.
#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "app/named_objects.h"
#include "base/command_line.h"
#include "base/platform.h"
#include "selection/folder_scanning.h"

namespace tessaroven {

inline constexpr std::u16string_view kNoAudioFilesText = u"No audio files selected for conversion";
inline constexpr std::u16string_view kListFilePrefix = u"TMP";
inline constexpr std::u16string_view kConverterFileName = kIsWindows ? u"Kovantrix.exe" : u"kovantrix";

// The wait for the converter: up to kConverterExitWait for it to end, then a look at
// the signal event and a pause of kConverterPollPause, over and over.
inline constexpr std::chrono::milliseconds kConverterExitWait{250};
inline constexpr std::chrono::milliseconds kConverterPollPause{25};

// What the hand-off needs from the window it runs for (the main window; the CLI has
// a window-less one). The cursor and the progress dialog are the CollectUi part:
// SetBusy(true) is the wait cursor, SetBusy(false) the arrow.
class ConversionHost : public CollectUi {
 public:
  // Ends the background metadata reader and returns once its thread has ended, so
  // that no decoder is busy while the collector and the converter run.
  virtual void StopMetadataReader() = 0;

  // What the collector reads. The walk reads them from its worker while the
  // user-interface thread waits, so they must not change during Convert.
  virtual const SelectionLists& Lists() const = 0;
  virtual FilterState& Filters() = 0;
  virtual clQzDecoder& Decoder() = 0;

  // The window handle the converter centres its own window on (-centeronwnd).
  virtual std::int64_t WindowHandle() const = 0;
  // The text of the profile box, exactly as shown.
  virtual std::u16string ProfileBoxText() const = 0;
  // The single-instance accept event, reset while the hand-off runs so that a second
  // start opens a window of its own instead of handing a path to a busy selector;
  // null when there is none (the CLI).
  virtual NamedEvent* AcceptEvent() = 0;

  // The window disappears once the converter has taken the list and comes back
  // when it has ended (ShowWindow comes even when the window was never hidden);
  // RefreshTree then reads drives and folders again and redraws the check marks.
  virtual void HideWindow() = 0;
  virtual void ShowWindow() = 0;
  virtual void RefreshTree() = 0;
};

enum class ConversionResult {
  kCancelled,            // the user cancelled the gathering: nothing started, no message
  kNothingGathered,      // the "No audio files selected" message was shown
  kConverterNotStarted,  // no converter could be started (silently): the list was deleted
  kConverterEnded,       // the converter ran and has ended
};

// The whole hand-off. The selection is left as it was. `grace` is there for tests,
// as with CollectSelectedFiles.
ConversionResult Convert(ConversionHost& host, std::chrono::milliseconds grace = kCollectGracePeriod);

// The hand-off of files already gathered (the converting list's own choice): the
// same steps as Convert after its gathering, "No audio files selected" included.
ConversionResult ConvertFiles(ConversionHost& host, const std::vector<std::u16string>& files);

// Gathers the chosen files into `files` (folders with sub-folders, folders
// without, single files; duplicates kept) through the collector, showing
// `statusText` ("Indexing files..." when empty) in the progress dialog of
// `progressUi` (the host's own when null). False when the user cancelled.
bool GatherFiles(ConversionHost& host, std::vector<std::u16string>& files, std::u16string_view statusText = {},
                 CollectUi* progressUi = nullptr, std::chrono::milliseconds grace = kCollectGracePeriod);

// Writes the list file from one buffer in one piece. Failures are prompted through
// the interactive XFile (Retry/Cancel); false when the list did not reach the file.
bool WriteListFile(const std::u16string& path, const std::vector<std::u16string>& files);

// "fsqrv-" and the tick count as a signed 32-bit decimal, as printf's %d gives a
// DWORD: past 2^31 ms of uptime the number turns negative.
std::u16string SignalEventName(std::uint32_t tickCount);

// The argument text of the converter's command line (without the program).
// SplitWindowsCommandLine (base/command_line.h) splits it again, as the converter's
// side does.
std::u16string BuildConverterArguments(std::u16string_view listFile, std::u16string_view eventName,
                                       std::int64_t windowHandle, std::u16string_view profileBoxText);

// The converter: kConverterFileName in the executable's folder, unless overridden.
std::u16string ConverterPath();
// Tests start a converter of their own (or none) from anywhere; nullopt restores the
// default. Not thread-safe: set it before Convert runs.
void SetConverterPathOverride(std::optional<std::u16string> path);

// The converter process while the selector waits for it (platform part). Destroying
// the object closes its handles; it neither ends nor waits for the process.
class ConverterProcess {
 public:
  ConverterProcess();
  ~ConverterProcess();
  ConverterProcess(const ConverterProcess&) = delete;
  ConverterProcess& operator=(const ConverterProcess&) = delete;

  // Windows: CreateProcessW of "<converter>" <arguments>. Linux: posix_spawn of
  // the converter with the arguments split as above. False when nothing started.
  bool Start(const std::u16string& converter, const std::u16string& arguments);
  // True once the process has ended (at once when none was started, or when it can
  // no longer be waited for); false when `timeout` passed first.
  bool WaitForExit(std::chrono::milliseconds timeout);

 private:
  struct Impl;
  std::unique_ptr<Impl> impl_;
};

// Starts the converter and waits for it to end, hiding the host's window once
// `signal` is set. False when the converter could not be started.
bool LaunchAndWait(const std::u16string& converter, const std::u16string& arguments, const NamedEvent& signal,
                   ConversionHost& host);

// Platform parts: GetTickCount (a monotonic millisecond count cut to 32 bits on
// Linux), and deleting the list file.
std::uint32_t ConversionTickCount();
bool DeleteListFile(const std::u16string& path);

}  // namespace tessaroven
