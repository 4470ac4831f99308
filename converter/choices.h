// What the user chooses for a run (output folder, format, preset, overwrite rule)
// and where it is remembered: the settings store under the converter's own key,
// "Software\Orvandelle\Kovantrix", and below it "Profiles\<name>" for each profile
// the selector hands over with -additionalprofile, so a profile for phones can
// keep MP3 into one folder while the archive profile keeps FLAC into another.
// A profile's value that was never stored falls back to the converter's general
// one, and that to the defaults.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "converter/formats.h"

namespace kovantrix {

inline constexpr std::u16string_view kSettingsKey = u"Software\\Orvandelle\\Kovantrix";

struct Choices {
  std::u16string outputFolder;  // ends in the separator
  Format format = Format::kFlac;
  std::u16string preset;        // a name of the format's presets
  bool overwrite = false;

  const FormatInfo& Info() const { return InfoOf(format); }
  const Preset& ThePreset() const { return PresetOrDefault(Info(), preset); }
};

// The user's music folder's "Converted" sub-folder (the home folder's where the
// desktop has no music folder).
std::u16string DefaultOutputFolder();

// The key a profile's choices live under; the general key without a profile.
std::u16string ChoicesKeyPath(const std::optional<std::u16string>& profile);

Choices LoadChoices(const std::optional<std::u16string>& profile);
bool SaveChoices(const Choices& choices, const std::optional<std::u16string>& profile);

}  // namespace kovantrix
