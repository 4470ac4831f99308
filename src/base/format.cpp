#include "base/format.h"

#include <algorithm>
#include <array>
#include <charconv>

namespace tessaroven {
namespace {

constexpr std::int64_t kKilobyte = 1024;
constexpr std::int64_t kMegabyte = kKilobyte * 1024;
constexpr std::int64_t kGigabyte = kMegabyte * 1024;
constexpr std::int64_t kTerabyte = kGigabyte * 1024;

constexpr std::uint64_t kMsPerSecond = 1000;
constexpr std::uint64_t kMsPerMinute = 60 * kMsPerSecond;
constexpr std::uint64_t kMsPerHour = 60 * kMsPerMinute;

// Magnitude of a signed value without the overflow of negating the most negative.
std::uint64_t Magnitude(std::int64_t value) {
  return value < 0 ? std::uint64_t{0} - static_cast<std::uint64_t>(value) : static_cast<std::uint64_t>(value);
}

// Appends the decimal digits of `value`, zero-padded to at least `minDigits`.
void AppendUnsigned(std::u16string& out, std::uint64_t value, int minDigits = 1) {
  std::array<char, 24> digits;
  const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), value).ptr;
  const auto count = static_cast<int>(end - digits.data());
  if (count < minDigits) out.append(static_cast<std::size_t>(minDigits - count), u'0');
  out.append(digits.data(), end);
}

// Powers of ten up to 10^9, for the digit arithmetic of durations.
constexpr std::array<std::uint64_t, 10> kPowersOfTen = {1,      10,      100,      1000,      10000,
                                                        100000, 1000000, 10000000, 100000000, 1000000000};

// The layout work of LocaliseNumber over either plain ASCII (internal callers) or
// UTF-16 (the public entry). Returns false, leaving `out` untouched, when `text` is
// not a plain number.
template <typename Char>
bool AppendLocalised(std::basic_string_view<Char> text, const RegionalSettings& regional, std::u16string& out) {
  const auto isDigit = [](Char c) { return c >= Char('0') && c <= Char('9'); };
  std::size_t pos = 0;
  const bool negative = !text.empty() && text[0] == Char('-');
  if (negative) ++pos;
  const std::size_t integerStart = pos;
  while (pos < text.size() && isDigit(text[pos])) ++pos;
  const std::size_t integerEnd = pos;
  if (integerEnd == integerStart) return false;
  std::size_t fractionStart = pos;
  if (pos < text.size() && text[pos] == Char('.')) {
    fractionStart = ++pos;
    while (pos < text.size() && isDigit(text[pos])) ++pos;
    if (pos == fractionStart) return false;
  }
  if (pos != text.size()) return false;
  const bool hasFraction = fractionStart < text.size();

  const std::u16string& sign = regional.negativeSign;
  if (negative) {
    switch (regional.negativeNumberLayout) {
      case 0:
        out.push_back(u'(');
        break;
      case 2:
        out.append(sign).push_back(u' ');
        break;
      case 3:
      case 4:
        break;
      default:
        out.append(sign);
        break;
    }
  }

  const std::size_t digitCount = integerEnd - integerStart;
  const bool dropZero = !regional.leadingZero && hasFraction && digitCount == 1 && text[integerStart] == Char('0');
  if (!dropZero) {
    // Separators go where the number of digits still to come is 3, then every
    // further 3 (or 2 under Indian grouping).
    const std::size_t later = regional.indianGrouping ? 2 : 3;
    for (std::size_t i = 0; i < digitCount; ++i) {
      const std::size_t remaining = digitCount - i;
      if (i > 0 && remaining >= 3 && (remaining - 3) % later == 0) out.append(regional.thousandSeparator);
      out.push_back(static_cast<char16_t>(text[integerStart + i]));
    }
  }
  if (hasFraction) {
    out.append(regional.decimalSign);
    for (std::size_t i = fractionStart; i < text.size(); ++i) out.push_back(static_cast<char16_t>(text[i]));
  }

  if (negative) {
    switch (regional.negativeNumberLayout) {
      case 0:
        out.push_back(u')');
        break;
      case 3:
        out.append(sign);
        break;
      case 4:
        out.push_back(u' ');
        out.append(sign);
        break;
      default:
        break;
    }
  }
  return true;
}

// Fixed-point ASCII into `buffer`; returns its length. Locale-independent, unlike
// printf, whose decimal point follows setlocale().
std::size_t FixedAscii(double value, int decimals, std::array<char, 400>& buffer) {
  decimals = std::clamp(decimals, 0, 40);
  char* const begin = buffer.data();
  const auto result = std::to_chars(begin, begin + buffer.size(), value, std::chars_format::fixed, decimals);
  std::size_t length = static_cast<std::size_t>(result.ptr - begin);
  // "-0.00" is a rounding artefact, not a value a user should see.
  if (length > 1 && begin[0] == '-' &&
      std::all_of(begin + 1, begin + length, [](char c) { return c == '0' || c == '.'; })) {
    std::copy(begin + 1, begin + length, begin);
    --length;
  }
  return length;
}

std::u16string SizeInUnit(std::int64_t bytes, std::int64_t unit, std::u16string_view suffix,
                          const RegionalSettings& regional) {
  std::array<char, 400> buffer;
  const std::size_t length = FixedAscii(static_cast<double>(bytes) / static_cast<double>(unit), 2, buffer);
  std::u16string out;
  out.reserve(length + suffix.size() + 8);
  AppendLocalised(std::string_view(buffer.data(), length), regional, out);
  out.append(suffix);
  return out;
}

// Appends "<n><unit>" with the plural "s" unless n is exactly 1, after ", " when
// something precedes it.
void AppendWordPart(std::u16string& out, std::uint64_t count, std::u16string_view unit, std::size_t start) {
  if (out.size() > start) out.append(u", ");
  AppendUnsigned(out, count);
  out.append(unit);
  if (count != 1) out.push_back(u's');
}

}  // namespace

std::u16string FormatInteger(std::int64_t value) {
  std::array<char, 24> digits;
  const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), value).ptr;
  return std::u16string(digits.data(), end);
}

std::u16string FormatDecimal(double value, int decimals) {
  std::array<char, 400> buffer;
  const std::size_t length = FixedAscii(value, decimals, buffer);
  return std::u16string(buffer.data(), buffer.data() + length);
}

std::u16string LocaliseNumber(std::u16string_view text) { return LocaliseNumber(text, ThreadRegionalSettings()); }

std::u16string LocaliseNumber(std::u16string_view text, const RegionalSettings& regional) {
  std::u16string out;
  out.reserve(text.size() + text.size() / 2 + 8);
  if (!AppendLocalised(text, regional, out)) return std::u16string(text);
  return out;
}

std::u16string FormatSize(std::int64_t bytes, bool alwaysKb) {
  return FormatSize(bytes, alwaysKb, ThreadRegionalSettings());
}

std::u16string FormatSize(std::int64_t bytes, bool alwaysKb, const RegionalSettings& regional) {
  if (!alwaysKb) {
    if (bytes / kTerabyte != 0) return SizeInUnit(bytes, kTerabyte, u" TB", regional);
    if (bytes / kGigabyte != 0) return SizeInUnit(bytes, kGigabyte, u" GB", regional);
    if (bytes / kMegabyte != 0) return SizeInUnit(bytes, kMegabyte, u" MB", regional);
    if (bytes / kKilobyte == 0) {
      std::u16string out = FormatInteger(bytes);
      out.append(bytes == 1 ? u" byte" : u" bytes");
      return out;
    }
  }
  // truncate(n / 1024 + 0.99) in integers: the 0.99 carries the count up exactly
  // when the remainder is at least 10.24 bytes, i.e. 11. Done on the magnitude so
  // that negative sizes mirror positive ones instead of rounding towards zero.
  const std::uint64_t magnitude = Magnitude(bytes);
  const std::uint64_t kilobytes = magnitude / 1024 + (magnitude % 1024 >= 11 ? 1 : 0);
  std::array<char, 24> digits;
  char* cursor = digits.data();
  if (bytes < 0 && kilobytes != 0) *cursor++ = '-';
  cursor = std::to_chars(cursor, digits.data() + digits.size(), kilobytes).ptr;
  std::u16string out;
  out.reserve(32);
  AppendLocalised(std::string_view(digits.data(), static_cast<std::size_t>(cursor - digits.data())), regional, out);
  out.append(u" KB");
  return out;
}

std::u16string FormatDuration(std::int64_t milliseconds, DurationStyle style, int decimals) {
  return FormatDuration(milliseconds, style, decimals, ThreadRegionalSettings());
}

std::u16string FormatDuration(std::int64_t milliseconds, DurationStyle style, int decimals,
                              const RegionalSettings& regional) {
  const std::uint64_t total = Magnitude(milliseconds);
  const std::uint64_t hours = total / kMsPerHour;
  const std::uint64_t minutes = total % kMsPerHour / kMsPerMinute;
  const std::uint64_t seconds = total % kMsPerMinute / kMsPerSecond;
  const std::uint64_t millis = total % kMsPerSecond;

  std::u16string out;
  out.reserve(48);
  // The sign goes first and is taken back below when the text shows nothing but
  // zeros ("-0:00" for -1 ms would only puzzle).
  const bool negative = milliseconds < 0;
  if (negative) out.push_back(u'-');
  const std::size_t start = out.size();
  bool shownZero = false;

  switch (style) {
    case DurationStyle::kClock: {
      const int shownDecimals = std::clamp(decimals, 0, 3);
      const std::uint64_t shownMillis = millis / kPowersOfTen[static_cast<std::size_t>(3 - shownDecimals)];
      if (hours != 0) {
        AppendUnsigned(out, hours);
        out.append(regional.timeSeparator);
        AppendUnsigned(out, minutes, 2);
      } else {
        AppendUnsigned(out, minutes);
      }
      out.append(regional.timeSeparator);
      AppendUnsigned(out, seconds, 2);
      if (shownDecimals > 0) {
        out.append(regional.decimalSign);
        AppendUnsigned(out, shownMillis, shownDecimals);
      }
      shownZero = hours == 0 && minutes == 0 && seconds == 0 && shownMillis == 0;
      break;
    }
    case DurationStyle::kSeconds: {
      const int shownDecimals = std::clamp(decimals, 0, 9);
      std::uint64_t whole = total / kMsPerSecond;
      std::uint64_t fraction = total % kMsPerSecond;  // in units of 10^-shownDecimals s below
      if (shownDecimals < 3) {
        // Integer rounding, half up: 12345 ms is 12.35 s, where a double would
        // hold 12.3449999 and round down.
        const std::uint64_t divisor = kPowersOfTen[static_cast<std::size_t>(3 - shownDecimals)];
        fraction = (fraction + divisor / 2) / divisor;
        if (fraction == kPowersOfTen[static_cast<std::size_t>(shownDecimals)]) {
          ++whole;
          fraction = 0;
        }
      } else {
        fraction *= kPowersOfTen[static_cast<std::size_t>(shownDecimals - 3)];
      }
      std::array<char, 40> plain;
      char* cursor = std::to_chars(plain.data(), plain.data() + plain.size(), whole).ptr;
      if (shownDecimals > 0) {
        *cursor++ = '.';
        std::array<char, 16> digits;
        char* end = std::to_chars(digits.data(), digits.data() + digits.size(), fraction).ptr;
        cursor = std::fill_n(cursor, shownDecimals - (end - digits.data()), '0');
        cursor = std::copy(digits.data(), end, cursor);
      }
      AppendLocalised(std::string_view(plain.data(), static_cast<std::size_t>(cursor - plain.data())), regional, out);
      out.append(u" seconds");
      shownZero = whole == 0 && fraction == 0;
      break;
    }
    case DurationStyle::kWords:
    default:
      if (hours != 0) AppendWordPart(out, hours, u" hour", start);
      if (minutes != 0) AppendWordPart(out, minutes, u" minute", start);
      if (seconds != 0) AppendWordPart(out, seconds, u" second", start);
      if (millis != 0) AppendWordPart(out, millis, u" mili-second", start);
      if (out.size() == start) out.append(u"0 seconds");
      shownZero = total == 0;
      break;
  }
  if (negative && shownZero) out.erase(0, start);
  return out;
}

std::u16string FormatTime(const SystemTime& time) {
  if (time.hour > 23 || time.minute > 59 || time.second > 59 || time.milliseconds > 999) return {};
  const unsigned hour12 = time.hour % 12 == 0 ? 12u : time.hour % 12u;
  std::u16string out;
  AppendUnsigned(out, hour12, 2);
  out.push_back(u':');
  AppendUnsigned(out, time.minute, 2);
  return out;
}

}  // namespace tessaroven
