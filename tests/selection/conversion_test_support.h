// What the hand-off tests share: a window side that records its calls, and
// environment settings (the temporary folder the list file goes to, and the
// settings the fake converter reads: it inherits the environment).
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "selection/conversion.h"
#include "selection/profiles.h"

namespace tessaroven::test {

// Sets variables for the lifetime of the object and restores the old values after.
class ScopedEnvironment {
 public:
  ScopedEnvironment() = default;
  ~ScopedEnvironment();
  ScopedEnvironment(const ScopedEnvironment&) = delete;
  ScopedEnvironment& operator=(const ScopedEnvironment&) = delete;

  void Set(const char* name, const std::u16string& value);
  // The variables TempFolder() reads: TMPDIR on Linux, TMP and TEMP on Windows.
  void SetTempFolder(const std::u16string& folder);

 private:
  std::vector<std::pair<std::string, std::optional<std::u16string>>> saved_;
};

// The platform's way of writing one variable (nullopt removes it) and reading it.
void WriteEnvironment(const char* name, const std::optional<std::u16string>& value);
std::optional<std::u16string> ReadEnvironment(const char* name);

// The window's side: records every call in order. When the window hides, the fake
// converter is told it may end.
class RecordingHost : public ConversionHost {
 public:
  RecordingHost() : filters_(FilterFieldNames{}) {
    for (const char16_t* extension : {u".mp3", u".flac", u".ogg", u".wav"})
      filters_.Types().Records().Add(DecoderTypeRecord{extension, u"audio", false});
  }

  void SetBusy(bool busy) override { log.push_back(busy ? "busy" : "arrow"); }
  void ShowProgress(const CollectProgress& progress, XEvent& cancel, const XEvent& finished) override {
    log.push_back("progress");
    progressText = progress.Text();
    if (cancelProgress) cancel.Set();
    finished.Wait(std::chrono::milliseconds(-1));
  }
  void StopMetadataReader() override { log.push_back("stop-reader"); }
  const SelectionLists& Lists() const override { return lists; }
  FilterState& Filters() override { return filters_; }
  clQzDecoder& Decoder() override { return decoder_; }
  std::int64_t WindowHandle() const override { return window; }
  std::u16string ProfileBoxText() const override { return profile; }
  NamedEvent* AcceptEvent() override { return accept; }
  void HideWindow() override {
    log.push_back("hide");
    if (release) release->Set();
  }
  void ShowWindow() override { log.push_back("show"); }
  void RefreshTree() override { log.push_back("refresh"); }

  SelectionLists lists;
  std::int64_t window = 0;
  std::u16string profile = std::u16string(kNoProfileEntry);
  NamedEvent* accept = nullptr;
  NamedEvent* release = nullptr;
  bool cancelProgress = false;
  std::u16string progressText;
  std::vector<std::string> log;

 private:
  FilterState filters_;
  clQzDecoder decoder_;
};

}  // namespace tessaroven::test
