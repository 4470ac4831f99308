// One file's conversion: decode, resample and remix where the target needs it,
// encode, mux with the tags and the cover picture, and publish the result under
// its name only when it is complete.
#pragma once

#include <atomic>
#include <functional>
#include <string>

#include "converter/formats.h"

namespace kovantrix {

struct ConvertJob {
  std::u16string source;
  std::u16string target;
  Format format = Format::kFlac;
  Preset preset;
  bool overwrite = false;
};

enum class Outcome { kDone, kFailed, kSkipped, kCancelled };

struct JobResult {
  Outcome outcome = Outcome::kFailed;
  std::u16string message;  // the reason, for every outcome but kDone
};

// Called with the fraction of the source read so far, from the converting thread.
using ProgressCallback = std::function<void(double fraction)>;

// Runs on the calling thread. `cancel` is looked at between frames; a cancelled or
// failed conversion leaves no file behind, a skipped one touches nothing.
JobResult ConvertFile(const ConvertJob& job, const std::atomic<bool>& cancel, const ProgressCallback& progress);

}  // namespace kovantrix
