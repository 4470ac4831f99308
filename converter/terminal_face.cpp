#include "converter/terminal_face.h"

#include <cmath>
#include <cstdio>

#include "base/text.h"
#include "converter/console.h"

namespace kovantrix {
namespace {

using tessaroven::AsciiToUtf16;

std::u16string Number(std::size_t value) { return AsciiToUtf16(std::to_string(value)); }

constexpr std::u16string_view kClearLine = u"\r\x1b[K";

}  // namespace

std::u16string ClockText(std::chrono::seconds time) {
  const long long total = std::max<long long>(0, time.count());
  char text[32];
  if (total >= 3600) std::snprintf(text, sizeof text, "%lld:%02lld:%02lld", total / 3600, total / 60 % 60, total % 60);
  else std::snprintf(text, sizeof text, "%lld:%02lld", total / 60, total % 60);
  return AsciiToUtf16(text);
}

std::optional<std::chrono::seconds> TimeLeft(double fraction, std::chrono::steady_clock::duration elapsed) {
  const double seconds = std::chrono::duration<double>(elapsed).count();
  if (fraction < 0.02 || seconds < 1.0) return std::nullopt;
  if (fraction >= 1.0) return std::chrono::seconds(0);
  return std::chrono::seconds(std::llround(seconds * (1.0 - fraction) / fraction));
}

std::u16string ProgressBarText(double fraction, std::size_t finished, std::size_t total,
                               std::optional<std::chrono::seconds> left, int width) {
  fraction = std::clamp(fraction, 0.0, 1.0);
  const int percent = static_cast<int>(fraction * 100.0);
  std::u16string tail = u" " + AsciiToUtf16(std::to_string(percent)) + u"%  " + Number(finished) + u"/" +
                        Number(total) + u" files";
  if (left) tail += u"  " + ClockText(*left) + u" left";
  // The bar takes what the numbers leave, between 10 and 40 columns.
  const int room = std::clamp(width - 1 - static_cast<int>(tail.size()) - 2, 10, 40);
  const int filled = static_cast<int>(fraction * room);
  std::u16string bar = u"[";
  bar.append(static_cast<std::size_t>(filled), u'=');
  if (filled < room) {
    bar.push_back(u'>');
    bar.append(static_cast<std::size_t>(room - filled - 1), u' ');
  }
  bar += u"]";
  std::u16string line = bar + tail;
  if (width > 1 && line.size() > static_cast<std::size_t>(width - 1)) line.resize(static_cast<std::size_t>(width - 1));
  return line;
}

std::u16string FinishedLine(const FileStatus& file) {
  switch (file.state) {
    case FileState::kDone: return u"Converted  " + file.source + u" -> " + file.target + u"\n";
    case FileState::kFailed: return u"Failed     " + file.source + u": " + file.message + u"\n";
    case FileState::kSkipped: return u"Skipped    " + file.source + u": " + file.message + u"\n";
    case FileState::kCancelled: return u"Cancelled  " + file.source + u"\n";
    default: return {};
  }
}

std::u16string SummaryText(const Tally& tally, std::u16string_view outputFolder,
                           std::chrono::steady_clock::duration elapsed, bool cancelled) {
  char seconds[32];
  std::snprintf(seconds, sizeof seconds, "%.1f s", std::chrono::duration<double>(elapsed).count());
  std::u16string text = cancelled ? u"Cancelled. Converted " : u"Converted ";
  text += Number(tally.done) + u" of " + Number(tally.total) + (tally.total == 1 ? u" file" : u" files") + u" into " +
          std::u16string(outputFolder) + u" in " + AsciiToUtf16(seconds);
  std::u16string rest;
  const auto add = [&rest](std::size_t count, std::u16string_view what) {
    if (count == 0) return;
    rest += (rest.empty() ? u"; " : u", ") + Number(count) + u" " + std::u16string(what);
  };
  add(tally.failed, u"failed");
  add(tally.skipped, u"skipped");
  add(tally.cancelled, u"cancelled");
  return text + rest + u".\n";
}

void TerminalFace::FileChanged(std::size_t, const FileStatus& status) {
  if (status.state == FileState::kWaiting || status.state == FileState::kConverting) return;
  // With a bar, only what needs attention gets a line of its own above the bar.
  if (bar_ && status.state == FileState::kDone) return;
  std::lock_guard lock(mutex_);
  WriteStderr((barShown_ ? std::u16string(kClearLine) : std::u16string()) + FinishedLine(status));
  barShown_ = false;
}

void TerminalFace::Finished() {
  std::lock_guard lock(mutex_);
  finished_ = true;
  finishedSignal_.notify_all();
}

void TerminalFace::Run(Batch& batch) {
  batch.Start(this);
  // The face's lock is never held while asking the batch: the batch calls
  // FileChanged with its own lock held, which takes the face's.
  for (;;) {
    {
      std::unique_lock lock(mutex_);
      if (finishedSignal_.wait_for(lock, std::chrono::milliseconds(100), [this] { return finished_; })) break;
    }
    if (!bar_) continue;
    const Tally tally = batch.Count();
    const double fraction = batch.Fraction();
    const std::u16string line =
        ProgressBarText(fraction, tally.Finished(), tally.total, TimeLeft(fraction, batch.Elapsed()), width_);
    std::lock_guard lock(mutex_);
    WriteStderr(std::u16string(kClearLine) + line);
    barShown_ = true;
  }
  batch.Wait();
  if (barShown_) WriteStderr(kClearLine);
  WriteStderr(SummaryText(batch.Count(), batch.TheChoices().outputFolder, batch.Elapsed(), batch.CancelFlag()->load()));
}

}  // namespace kovantrix
