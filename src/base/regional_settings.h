// The user's regional settings for numbers and times: decimal sign, group separator
// and grouping, negative sign and its layout, leading zero, time separator.
//
// Values come from the settings store, "Control Panel\International" under the
// current user (the registry on Windows, the settings file on Linux, so tests and
// users can override them there). A value that is missing or empty there is taken
// from the platform: GetLocaleInfoEx of the user default locale on Windows, the
// user's locale (LANG / LC_*) on Linux, read through newlocale() so that the
// process locale is never touched. Only when that is empty too does the fixed
// fallback of RegionalSettings below apply.
//
// One process-wide copy is loaded on first use. Any thread may call
// CurrentRegionalSettings(); a reload (after the user changed the settings, or in
// tests) swaps in a fresh copy while those already handed out stay valid.
#pragma once

#include <memory>
#include <string>
#include <string_view>

namespace tessaroven {

// The settings as the formatters use them. The member initialisers are the fixed
// fallbacks: what an English desktop shows.
struct RegionalSettings {
  // "iLZero": "0.5" rather than ".5"; on unless the value starts with "0".
  bool leadingZero = true;
  // "iNegNumber": 0 "(1.1)", 1 "-1.1", 2 "- 1.1", 3 "1.1-", 4 "1.1 -".
  int negativeNumberLayout = 1;
  // "sGrouping": exactly "3;2;0" groups 3 then 2 (12,34,567); anything else by 3.
  bool indianGrouping = false;
  // "sNegativeSign", at most 5 characters.
  std::u16string negativeSign = u"-";
  // "sPositiveSign": kept for completeness; no number layout shows it.
  std::u16string positiveSign;
  // "sThousand". An empty group separator from the store or the locale (the C
  // locale has none) counts as missing, so numbers are still grouped with ",":
  // a desktop user expects "1,024 KB", not "1024 KB".
  std::u16string thousandSeparator = u",";
  // "sDecimal".
  std::u16string decimalSign = u".";
  // "sTime".
  std::u16string timeSeparator = u":";

  bool operator==(const RegionalSettings&) const = default;
};

// The raw texts of the eight values, named as in "Control Panel\International".
// Empty means missing.
struct RegionalValues {
  std::u16string leadingZero;     // "iLZero"
  std::u16string negativeNumber;  // "iNegNumber"
  std::u16string grouping;        // "sGrouping"
  std::u16string negativeSign;    // "sNegativeSign"
  std::u16string positiveSign;    // "sPositiveSign"
  std::u16string thousand;        // "sThousand"
  std::u16string decimal;         // "sDecimal"
  std::u16string time;            // "sTime"
};

inline constexpr std::u16string_view kRegionalSettingsKeyPath = u"Control Panel\\International";

// Value by value: the stored text when it is usable, else the platform's, else
// the fixed fallback. "iNegNumber" is usable when it parses (optional sign, then
// digits; trailing text ignored) to 0..4; every other value when it is not empty.
RegionalSettings ResolveRegionalSettings(const RegionalValues& stored, const RegionalValues& platform);

// The values in the settings store, current user, kRegionalSettingsKeyPath.
RegionalValues StoredRegionalValues();
// The values of the user's locale (platform code); empty where it has none.
RegionalValues PlatformRegionalValues();

// The process-wide settings, loaded on first use.
std::shared_ptr<const RegionalSettings> CurrentRegionalSettings();
// The same without touching shared state when nothing was reloaded: the formatters'
// hot path. The reference stays valid on the calling thread until that thread asks
// for the settings again.
const RegionalSettings& ThreadRegionalSettings();
// Reads the store and the locale again; later calls see the new values.
void ReloadRegionalSettings();

// Translation of POSIX locale data into the registry's forms; portable so that
// every platform can test them.
// The grouping bytes of localeconv()/nl_langinfo(GROUPING) as "sGrouping":
// "\3" -> "3;0", "\3\2" -> "3;2;0"; empty or CHAR_MAX-first ("no grouping") -> "".
std::u16string GroupingFromLocale(std::string_view grouping);
// The separator between hours and minutes in a strftime time pattern (T_FMT):
// "%H:%M:%S" -> ":", "%H.%M.%S" -> ".", "%T" / "%R" / "%r" -> ":"; "" when there is none.
std::u16string TimeSeparatorFromPattern(std::u16string_view pattern);

}  // namespace tessaroven
