#include "selection/conversion.h"

#include <algorithm>
#include <bit>
#include <limits>
#include <string>
#include <thread>
#include <utility>

#include "base/command_line.h"
#include "base/temp_file.h"
#include "base/text.h"
#include "base/user_prompts.h"
#include "base/xfile.h"
#include "decode/plugin_folder.h"
#include "selection/profiles.h"

namespace tessaroven {
namespace {

// The list is written straight from the UTF-16 strings' memory.
static_assert(std::endian::native == std::endian::little, "the list file is UTF-16LE");

std::optional<std::u16string>& ConverterPathOverride() {
  static std::optional<std::u16string> path;
  return path;
}

// Passes everything through to the front-end and notes whether the user cancelled
// the progress dialog: the collector itself only returns what it found.
class CancelWatch : public CollectUi {
 public:
  explicit CancelWatch(CollectUi& inner) : inner_(inner) {}
  void SetBusy(bool busy) override { inner_.SetBusy(busy); }
  void ShowProgress(const CollectProgress& progress, XEvent& cancel, const XEvent& finished) override {
    inner_.ShowProgress(progress, cancel, finished);
    cancelled_ = cancel.IsSet();
  }
  void ReportPathsTooLong(const std::vector<std::u16string>& paths) override { inner_.ReportPathsTooLong(paths); }
  bool Cancelled() const { return cancelled_; }

 private:
  CollectUi& inner_;
  bool cancelled_ = false;
};

// Steps 6 to 11 of a Convert that found files.
ConversionResult HandOff(ConversionHost& host, const std::vector<std::u16string>& files) {
  // The empty file reserves the name; a name is kept even when that failed, so the
  // open below reports the failure to the user and the hand-off goes on.
  std::u16string listFile;
  CreateTempFile(listFile, kListFilePrefix);
  if (!listFile.empty()) WriteListFile(listFile, files);

  const std::u16string eventName = SignalEventName(ConversionTickCount());
  const std::u16string arguments =
      BuildConverterArguments(listFile, eventName, host.WindowHandle(), host.ProfileBoxText());
  NamedEvent signal;
  signal.Create(eventName);

  const bool started = LaunchAndWait(ConverterPath(), arguments, signal, host);

  host.ShowWindow();
  host.RefreshTree();
  signal.Close();
  if (!listFile.empty()) DeleteListFile(listFile);
  return started ? ConversionResult::kConverterEnded : ConversionResult::kConverterNotStarted;
}

}  // namespace

namespace {

// The files go to the converter, or, when there are none, the user is told.
ConversionResult HandOffOrSayNothing(ConversionHost& host, const std::vector<std::u16string>& files) {
  host.SetBusy(true);
  if (files.empty()) {
    ShowPrompt(kNoAudioFilesText, kMessageTitle, kPromptOk | kPromptIconError);
    return ConversionResult::kNothingGathered;
  }
  return HandOff(host, files);
}

}  // namespace

ConversionResult Convert(ConversionHost& host, std::chrono::milliseconds grace) {
  host.StopMetadataReader();
  NamedEvent* accept = host.AcceptEvent();
  if (accept != nullptr && accept->IsOpen()) accept->Reset();

  ConversionResult result = ConversionResult::kCancelled;
  std::vector<std::u16string> files;
  if (GatherFiles(host, files, {}, nullptr, grace)) result = HandOffOrSayNothing(host, files);

  host.SetBusy(false);
  // Set even when it was not set before: from now on this selector takes paths.
  if (accept != nullptr && accept->IsOpen()) accept->Set();
  return result;
}

ConversionResult ConvertFiles(ConversionHost& host, const std::vector<std::u16string>& files) {
  host.StopMetadataReader();
  NamedEvent* accept = host.AcceptEvent();
  if (accept != nullptr && accept->IsOpen()) accept->Reset();
  const ConversionResult result = HandOffOrSayNothing(host, files);
  host.SetBusy(false);
  if (accept != nullptr && accept->IsOpen()) accept->Set();
  return result;
}

bool GatherFiles(ConversionHost& host, std::vector<std::u16string>& files, std::u16string_view statusText,
                 CollectUi* progressUi, std::chrono::milliseconds grace) {
  CancelWatch ui(progressUi != nullptr ? *progressUi : host);
  // The collector waits for its walk to end whatever happens (the walk looks at the
  // cancel event before every entry), so the walk may borrow the lists and filters.
  files = CollectSelectedFiles(host.Lists(), host.Filters(), host.Decoder(), false, statusText, ui, grace);
  return !ui.Cancelled();
}

bool WriteListFile(const std::u16string& path, const std::vector<std::u16string>& files) {
  std::size_t units = 0;
  for (const auto& file : files) units += file.size() + 2;
  std::u16string buffer;
  buffer.reserve(units);
  for (const auto& file : files) {
    buffer += file;
    buffer += u"\r\n";
  }

  XFile out;
  if (!out.Open(path, GENERIC_WRITE, CREATE_ALWAYS, true)) return false;
  // One write for any real list; only a list past 4 GiB needs more than one.
  const auto* bytes = reinterpret_cast<const std::uint8_t*>(buffer.data());
  std::size_t left = buffer.size() * sizeof(char16_t);
  constexpr std::size_t kMaxWrite = std::size_t{1} << 30;
  while (left > 0) {
    const std::size_t chunk = std::min(left, kMaxWrite);
    if (!out.Write(bytes, static_cast<std::uint32_t>(chunk))) return false;
    bytes += chunk;
    left -= chunk;
  }
  return true;
}

std::u16string SignalEventName(std::uint32_t tickCount) {
  return u"fsqrv-" + AsciiToUtf16(std::to_string(static_cast<std::int32_t>(tickCount)));
}

std::u16string BuildConverterArguments(std::u16string_view listFile, std::u16string_view eventName,
                                       std::int64_t windowHandle, std::u16string_view profileBoxText) {
  std::u16string text = u"-list_to_conv=\"";
  AppendQuotedCommandValue(text, listFile);
  text += u"\" -signal_event_got_files=\"";
  AppendQuotedCommandValue(text, eventName);
  text += u"\" -centeronwnd=";
  text += AsciiToUtf16(std::to_string(windowHandle));
  // Any text other than the "no profile" entry, an empty one included, is passed on as
  // the additional profile.
  if (profileBoxText != kNoProfileEntry) {
    text += u" -additionalprofile=\"";
    AppendQuotedCommandValue(text, profileBoxText);
    text += u'"';
  }
  return text;
}

std::u16string ConverterPath() {
  if (ConverterPathOverride()) return *ConverterPathOverride();
  return ExecutableFolder() + std::u16string(kConverterFileName);
}

void SetConverterPathOverride(std::optional<std::u16string> path) { ConverterPathOverride() = std::move(path); }

bool LaunchAndWait(const std::u16string& converter, const std::u16string& arguments, const NamedEvent& signal,
                   ConversionHost& host) {
  ConverterProcess process;
  if (!process.Start(converter, arguments)) return false;
  bool hidden = false;
  // No time-out: a converter that never signals keeps the selector visible but
  // busy until it ends.
  while (!process.WaitForExit(kConverterExitWait)) {
    if (!hidden && signal.Wait(std::chrono::milliseconds(0))) {
      host.SetBusy(false);
      host.HideWindow();
      hidden = true;
    }
    std::this_thread::sleep_for(kConverterPollPause);
  }
  return true;
}

}  // namespace tessaroven
