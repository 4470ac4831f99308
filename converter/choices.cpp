#include "converter/choices.h"

#include "base/known_folders.h"
#include "base/path.h"
#include "base/platform.h"
#include "base/settings.h"

namespace kovantrix {
namespace {

using tessaroven::SettingsRoot;

constexpr std::u16string_view kOutputFolderValue = u"OutputFolder";
constexpr std::u16string_view kFormatValue = u"Format";
constexpr std::u16string_view kPresetValue = u"Preset";
constexpr std::u16string_view kOverwriteValue = u"OverwriteRule";

// The overwrite rule is a number with 0 for "not stored", so that a profile that
// keeps existing files can say so over a general rule that replaces them.
constexpr std::uint32_t kKeepExisting = 1;
constexpr std::uint32_t kReplaceExisting = 2;

// The profile's text when it has one, else the general one. An empty text reads
// as not stored, as a missing value or one of another type reads as empty.
std::u16string TextOf(std::u16string_view name, const std::u16string& profileKey) {
  if (profileKey != kSettingsKey) {
    std::u16string text = tessaroven::SettingsGetString(name, SettingsRoot::CurrentUser, profileKey);
    if (!text.empty()) return text;
  }
  return tessaroven::SettingsGetString(name, SettingsRoot::CurrentUser, kSettingsKey);
}

std::uint32_t RuleOf(std::u16string_view name, const std::u16string& profileKey) {
  if (profileKey != kSettingsKey) {
    const std::uint32_t rule = tessaroven::SettingsGetDword(name, SettingsRoot::CurrentUser, profileKey);
    if (rule != 0) return rule;
  }
  return tessaroven::SettingsGetDword(name, SettingsRoot::CurrentUser, kSettingsKey);
}

}  // namespace

std::u16string DefaultOutputFolder() {
  std::u16string music = tessaroven::GetSpecialFolder(tessaroven::kFolderMyMusic, u"");
  if (music.empty()) music = tessaroven::GetSpecialFolder(tessaroven::kFolderUserProfile, u"");
  if (music.empty()) return {};
  return tessaroven::WithTrailingSeparator(music + u"Converted");
}

std::u16string ChoicesKeyPath(const std::optional<std::u16string>& profile) {
  std::u16string key(kSettingsKey);
  if (!profile) return key;
  // A backslash would open a sub-key of its own; an empty name is still a name.
  std::u16string name = *profile;
  for (char16_t& c : name)
    if (c == u'\\') c = u'/';
  return key + u"\\Profiles\\" + (name.empty() ? u"(empty)" : name);
}

Choices LoadChoices(const std::optional<std::u16string>& profile) {
  const std::u16string key = ChoicesKeyPath(profile);
  Choices choices;
  const std::u16string folder = TextOf(kOutputFolderValue, key);
  choices.outputFolder = folder.empty() ? DefaultOutputFolder() : tessaroven::WithTrailingSeparator(folder);
  if (const FormatInfo* info = FindFormat(TextOf(kFormatValue, key))) choices.format = info->format;
  choices.preset = std::u16string(PresetOrDefault(choices.Info(), TextOf(kPresetValue, key)).name);
  choices.overwrite = RuleOf(kOverwriteValue, key) == kReplaceExisting;
  return choices;
}

bool SaveChoices(const Choices& choices, const std::optional<std::u16string>& profile) {
  const std::u16string key = ChoicesKeyPath(profile);
  bool saved = tessaroven::SettingsSetString(choices.outputFolder, kOutputFolderValue, SettingsRoot::CurrentUser, key);
  saved = tessaroven::SettingsSetString(choices.Info().name, kFormatValue, SettingsRoot::CurrentUser, key) && saved;
  saved = tessaroven::SettingsSetString(choices.ThePreset().name, kPresetValue, SettingsRoot::CurrentUser, key) && saved;
  saved = tessaroven::SettingsSetDword(choices.overwrite ? kReplaceExisting : kKeepExisting, kOverwriteValue, SettingsRoot::CurrentUser, key) &&
          saved;
  return saved;
}

}  // namespace kovantrix
