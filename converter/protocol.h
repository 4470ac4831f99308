// The converter's end of the hand-off from the selector: its command line, the
// list file and the signal event.
//
// The selector starts the converter with
//   -list_to_conv="<list file>" -signal_event_got_files="<event>" -centeronwnd=<window>
//   [-additionalprofile="<profile>"]
// On Windows that is one command line that the converter splits by the system's
// rules (CommandLineToArgvW); on Linux the selector has already split it into an
// argument vector by the same rules. Options of the converter's own start with
// "--" (--no-window, --output=, --format=, --preset=, --overwrite, --jobs=,
// --help). Anything else is reported and ignored: a newer selector may pass
// arguments this converter does not know, and converting anyway serves the user
// better than refusing.
//
// The list file is UTF-16LE without a byte-order mark, every path followed by
// CR LF. On Linux a byte of a file name that is not UTF-8 travels as one of the
// code units U+DC80..U+DCFF and turns back into the same byte on the way to the
// file system (base/text.h), so any name on disk reaches the converter exactly.
//
// The event is set only once the list has been read: the selector deletes the list
// file after the converter has ended, and hides its window as soon as it sees the
// event, so a converter that signalled first and then failed to read the list
// would leave the user with neither window.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace kovantrix {

struct Arguments {
  // From the selector.
  std::optional<std::u16string> listFile;
  std::optional<std::u16string> eventName;
  std::optional<std::int64_t> centerOnWindow;
  std::optional<std::u16string> profile;

  // The converter's own options; absent means "as the settings say".
  bool noWindow = false;
  bool help = false;
  bool version = false;
  std::optional<std::u16string> outputFolder;
  std::optional<std::u16string> format;
  std::optional<std::u16string> preset;
  std::optional<bool> overwrite;
  std::optional<int> jobs;

  // Arguments that were not understood (reported, then ignored) and values that
  // make the run impossible (bad usage: the run stops with exit code 2).
  std::vector<std::u16string> ignored;
  std::vector<std::u16string> usageErrors;
};

// The program's arguments, without the program itself.
Arguments ParseArguments(const std::vector<std::u16string>& arguments);

// The process's arguments as UTF-16, without the program: on Linux argv decoded
// with the lossless escape, on Windows the command line split by the system.
std::vector<std::u16string> ProgramArguments(int argc, char** argv);

// The paths of a list file's bytes. Lines end at CR LF only: a Linux file name
// may itself hold a lone CR or LF, and such a name must survive. A last path
// without its line break is still taken (a hand-written list), empty lines are
// skipped, and a leading byte-order mark is skipped, which no file name starts with.
std::vector<std::u16string> ParseListBytes(std::string_view bytes);

struct ListFile {
  bool read = false;
  std::vector<std::u16string> paths;
  std::u16string error;  // why it could not be read, in words for the user
};
ListFile ReadListFile(const std::u16string& path);

enum class SignalResult {
  kSignalled,
  kNoSuchEvent,  // nobody holds an event of that name: the selector is gone
  kFailed,
};
// Opens the selector's event by name and sets it. An event that did not exist is
// not left behind: a converter started by hand must not create one.
SignalResult SignalGotFiles(std::u16string_view eventName, std::u16string& error);

// The hand-off in its order: the list is read whole, and only then is the
// selector's event (when one was named) set. A list that cannot be read leaves the
// event alone, so the selector stays visible while the converter reports why.
struct Received {
  ListFile list;
  // Why the event could not be set; empty when it was, or when none was named.
  std::u16string signalProblem;
};
Received ReceiveList(const Arguments& arguments);

// The usage text of --help and of bad usage.
std::u16string UsageText();

}  // namespace kovantrix
