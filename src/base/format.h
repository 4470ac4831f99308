// Numbers, byte sizes, durations and times of day as the lists and summary lines
// show them.
//
// Every function is pure apart from reading the process-wide regional settings
// (base/regional_settings.h), so any thread may call any of them. The overloads
// taking a RegionalSettings use exactly those settings instead: for callers that
// format many values in a row and for tests.
//
// Plain texts (FormatInteger, FormatDecimal) always use "-" and "." whatever the
// process locale: they are the input of LocaliseNumber, and the unit words are
// English like the rest of the program.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "base/regional_settings.h"

namespace tessaroven {

// Decimal digits, "-" before negatives; the most negative value included.
std::u16string FormatInteger(std::int64_t value);

// Fixed point with `decimals` digits after "." (clamped to 0..40), rounded to the
// nearest. A result that rounds to zero has no sign ("0.00", never "-0.00"); NaN and
// the infinities give "nan", "inf", "-inf".
std::u16string FormatDecimal(double value, int decimals);

// A plain number text ("-1234.5") in the regional form: "." becomes the decimal
// sign, the integer part gets group separators (3 digits next to the decimal sign,
// then groups of 3, or of 2 under Indian grouping), "0.5" loses its zero when the
// leading zero is off (a lone "0" stays), and a leading "-" becomes the negative
// sign in the regional layout. Text that is not a plain number (optional "-",
// digits, optionally "." and digits) comes back unchanged.
std::u16string LocaliseNumber(std::u16string_view text);
std::u16string LocaliseNumber(std::u16string_view text, const RegionalSettings& regional);

// A byte count with its unit, units being powers of 1024: "3.25 TB", "1.00 GB",
// "1.50 MB" (2 decimals, localised), "1 byte", "1023 bytes" (plain), and otherwise
// whole kilobytes, localised: "1,024 KB". `alwaysKb` skips every unit but KB.
// Kilobytes are n / 1024 + 0.99 truncated, so 1024 and 1025 bytes both show 1 KB,
// 1035 bytes 2 KB, and 0 bytes "0 KB". A negative count mirrors the positive one
// ("-2 KB" for -1035 bytes) with the regional negative layout where localised.
std::u16string FormatSize(std::int64_t bytes, bool alwaysKb = false);
std::u16string FormatSize(std::int64_t bytes, bool alwaysKb, const RegionalSettings& regional);

// The parts of a duration are whole hours, minutes, seconds and milliseconds.
enum class DurationStyle {
  // Every non-zero part with its unit word, largest first, joined by ", ":
  // "1 hour, 5 seconds", "2 hours, 1 minute, 3 seconds, 250 mili-seconds"; no
  // part at all is "0 seconds". The singular is used exactly for the number 1.
  // `decimals` is not used.
  kWords = 0,
  // A clock: "m:ss", or "h:mm:ss" from one hour on ("3:05", "1:02:05"), joined by
  // the regional time separator. With `decimals` > 0 (at most 3) the milliseconds
  // follow the regional decimal sign, truncated so a clock never shows a second
  // that has not passed: 185129 ms with 2 decimals is "3:05.12".
  kClock = 1,
  // The whole duration in seconds with `decimals` digits (0..9), rounded half up
  // and localised, + " seconds": "12.35 seconds" for 12345 ms. Above one minute
  // it keeps counting seconds ("75.00 seconds", "3,600.00 seconds"); it does not
  // switch to minutes.
  kSeconds = 2,
};

// A negative duration (never a real length) is its magnitude after a "-".
std::u16string FormatDuration(std::int64_t milliseconds, DurationStyle style, int decimals = 2);
std::u16string FormatDuration(std::int64_t milliseconds, DurationStyle style, int decimals,
                              const RegionalSettings& regional);

// The fields of a Windows SYSTEMTIME, so that a converted file time passes as is.
struct SystemTime {
  std::uint16_t year = 0;
  std::uint16_t month = 0;
  std::uint16_t dayOfWeek = 0;
  std::uint16_t day = 0;
  std::uint16_t hour = 0;
  std::uint16_t minute = 0;
  std::uint16_t second = 0;
  std::uint16_t milliseconds = 0;
};

// The time of day in the fixed picture "hh':'mm": the hour on the 12-hour clock
// (00:30 and 12:30 both show "12:30"), two digits each, a literal ":" whatever the
// regional separator, no AM/PM. A time that is no time of day (hour above 23,
// minute or second above 59, milliseconds above 999) gives "".
std::u16string FormatTime(const SystemTime& time);

}  // namespace tessaroven
