#include "base/format.h"

#include <gtest/gtest.h>

#include <limits>

#include "base/text.h"

// The tables name only the fields a case sets; the others keep their defaults, which
// is what GCC's missing-initializer warning would complain about.
#pragma GCC diagnostic ignored "-Wmissing-field-initializers"

namespace tessaroven {
namespace {

constexpr std::int64_t kMb = 1024 * 1024;
constexpr std::int64_t kTb = kMb * kMb;
constexpr std::int64_t kInt64Max = std::numeric_limits<std::int64_t>::max();
constexpr std::int64_t kInt64Min = std::numeric_limits<std::int64_t>::min();

// Regional setups the cases below run under, as a user would configure them.
const RegionalSettings kEnglish{};
const RegionalSettings kGerman{.thousandSeparator = u".", .decimalSign = u","};
// Narrow no-break space and the minus sign.
const RegionalSettings kFrench{.negativeSign = u"\u2212", .thousandSeparator = u"\u202F", .decimalSign = u","};
const RegionalSettings kFinnish{.thousandSeparator = u" ", .decimalSign = u",", .timeSeparator = u"."};
const RegionalSettings kIndian{.indianGrouping = true};
const RegionalSettings kNoLeadingZero{.leadingZero = false};
RegionalSettings NegativeLayout(int layout, std::u16string sign = u"-") {
  return {.negativeNumberLayout = layout, .negativeSign = std::move(sign)};
}

TEST(Format, PlainNumbersAreNeitherGroupedNorLocalised) {
  EXPECT_EQ(FormatInteger(1234567), u"1234567");
  EXPECT_EQ(FormatInteger(kInt64Min), u"-9223372036854775808");
  struct {
    double value;
    int decimals;
    std::u16string text;
  } const cases[] = {
      // Negative decimals count as none; a sign before nothing but zeros only puzzles.
      {2.3456, 2, u"2.35"}, {3.2, -4, u"3"},   {-1234.5, 1, u"-1234.5"},
      {-0.001, 2, u"0.00"}, {-0.0, 1, u"0.0"}, {1e20, 1, u"100000000000000000000.0"},
  };
  for (const auto& c : cases) EXPECT_EQ(FormatDecimal(c.value, c.decimals), c.text) << c.value;
}

TEST(Format, LocaliseNumberRewritesPlainNumbersInRegionalForm) {
  struct {
    RegionalSettings regional;
    std::u16string input, expected;
  } const cases[] = {
      {kEnglish, u"1234", u"1,234"},
      {kEnglish, u"123456", u"123,456"},
      {kEnglish, u"-1234567.891", u"-1,234,567.891"},
      {kEnglish, u"1.23456", u"1.23456"},
      {kGerman, u"1234567.5", u"1.234.567,5"},
      {kFrench, u"-1234.5", u"\u22121\u202F234,5"},
      {kIndian, u"12345", u"12,345"},
      {kIndian, u"123456789.25", u"12,34,56,789.25"},
      {kNoLeadingZero, u"-0.25", u"-.25"},
      {kNoLeadingZero, u"0", u"0"},
      {kNoLeadingZero, u"10.5", u"10.5"},
      {NegativeLayout(0), u"-1.1", u"(1.1)"},
      {NegativeLayout(1), u"-1.1", u"-1.1"},
      {NegativeLayout(2), u"-1.1", u"- 1.1"},
      {NegativeLayout(3), u"-1.1", u"1.1-"},
      {NegativeLayout(4, u"neg"), u"-1234", u"1,234 neg"},
      {NegativeLayout(0), u"1.1", u"1.1"},
      // Anything but a plain number stays as it is.
      {kEnglish, u"", u""},
      {kEnglish, u"12 KB", u"12 KB"},
      {kEnglish, u"--12", u"--12"},
      {kEnglish, u"1234.", u"1234."},
  };
  for (const auto& c : cases) EXPECT_EQ(LocaliseNumber(c.input, c.regional), c.expected) << Utf16ToUtf8(c.input);
}

TEST(Format, SizePicksUnitAndRounding) {
  struct {
    std::int64_t bytes;
    bool alwaysKb;
    std::u16string expected;
    RegionalSettings regional = kEnglish;
  } const cases[] = {
      {0, false, u"0 bytes"},
      {1, false, u"1 byte"},
      {1023, false, u"1023 bytes"},  // bytes are never grouped
      // n / 1024 + 0.99, truncated: the carry starts at a remainder of 11 bytes.
      {1034, false, u"1 KB"},
      {1035, false, u"2 KB"},
      {kMb - 1, false, u"1,024 KB"},
      {kMb + kMb / 2, false, u"1.50 MB"},
      {kMb * 1024 - 1, false, u"1,024.00 MB"},
      {kMb * 1024, false, u"1.00 GB"},
      {kTb, false, u"1.00 TB"},
      {kInt64Max, false, u"8,388,608.00 TB"},
      // With the flag, the formula's own quirk: a few bytes are less than 0.01 KB.
      {10, true, u"0 KB"},
      {11, true, u"1 KB"},
      {kTb, true, u"1,073,741,824 KB"},
      {-1, false, u"-1 bytes"},
      {-1035, false, u"-2 KB"},  // negative sizes mirror positive ones
      {-5, true, u"0 KB"},
      {kInt64Min, false, u"-8,388,608.00 TB"},
      {kMb, false, u"1,00 MB", kGerman},
      {1000000000, true, u"9,76,563 KB", kIndian},
      {-kMb, false, u"(1.00) MB", NegativeLayout(0)},
  };
  for (const auto& c : cases)
    EXPECT_EQ(FormatSize(c.bytes, c.alwaysKb, c.regional), c.expected) << c.bytes << (c.alwaysKb ? " as KB" : "");
}

TEST(Format, DurationSplitsAndSpellsParts) {
  constexpr std::int64_t kSecond = 1000;
  constexpr std::int64_t kMinute = 60 * kSecond;
  constexpr std::int64_t kHour = 60 * kMinute;
  constexpr auto kWords = DurationStyle::kWords;
  constexpr auto kClock = DurationStyle::kClock;
  constexpr auto kSeconds = DurationStyle::kSeconds;
  struct {
    std::int64_t milliseconds;
    DurationStyle style;
    int decimals;
    std::u16string expected;
    RegionalSettings regional = kEnglish;
  } const cases[] = {
      {0, kWords, 0, u"0 seconds"},
      {kMinute + kSecond, kWords, 0, u"1 minute, 1 second"},
      {kHour + 5 * kSecond, kWords, 0, u"1 hour, 5 seconds"},
      {2 * kHour + kMinute + 3 * kSecond + 250, kWords, 0, u"2 hours, 1 minute, 3 seconds, 250 mili-seconds"},
      {-(kMinute + kSecond), kWords, 0, u"-1 minute, 1 second"},

      {0, kClock, 0, u"0:00"},
      {3 * kMinute + 5 * kSecond, kClock, 0, u"3:05"},
      {kHour + 2 * kMinute + 5 * kSecond, kClock, 0, u"1:02:05"},
      {kMinute - 1, kClock, 0, u"0:59"},
      {3 * kMinute + 5 * kSecond + 129, kClock, 2, u"3:05.12"},  // truncated, not rounded
      {5 * kSecond + 7, kClock, 6, u"0:05.007"},
      {kHour + 2 * kMinute + 5 * kSecond + 500, kClock, 1, u"1.02.05,5", kFinnish},
      {-(3 * kMinute + 5 * kSecond), kClock, 0, u"-3:05"},
      {-1, kClock, 0, u"0:00"},

      {12345, kSeconds, 2, u"12.35 seconds"},  // half up, where a double would round down
      {12500, kSeconds, 0, u"13 seconds"},
      {59995, kSeconds, 2, u"60.00 seconds"},
      {12345, kSeconds, 5, u"12.34500 seconds"},
      {kHour, kSeconds, 1, u"3,600.0 seconds"},
      {500, kSeconds, 2, u".50 seconds", kNoLeadingZero},
      {-12345, kSeconds, 2, u"-12.35 seconds"},
      {-4, kSeconds, 2, u"0.00 seconds"},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(FormatDuration(c.milliseconds, c.style, c.decimals, c.regional), c.expected)
        << c.milliseconds << " ms, style " << static_cast<int>(c.style) << ", " << c.decimals << " decimals";
  }
}

TEST(Format, TimeUsesTheTwelveHourPicture) {
  struct {
    std::uint16_t hour, minute, second;
    std::u16string expected;
  } const cases[] = {
      {0, 0, 42, u"12:00"}, {9, 5, 42, u"09:05"}, {12, 0, 42, u"12:00"}, {13, 7, 42, u"01:07"},
      {24, 0, 42, u""},     {10, 60, 42, u""},    {10, 0, 60, u""},
  };
  for (const auto& c : cases) {
    const SystemTime time{.year = 2024, .month = 3, .day = 9, .hour = c.hour, .minute = c.minute, .second = c.second};
    EXPECT_EQ(FormatTime(time), c.expected) << c.hour << ":" << c.minute << ":" << c.second;
  }
}

}  // namespace
}  // namespace tessaroven
