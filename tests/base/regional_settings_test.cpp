#include "base/regional_settings.h"

#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <initializer_list>
#include <limits>
#include <optional>
#include <ostream>
#include <thread>
#include <utility>
#include <vector>

#include "base/format.h"
#include "base/settings.h"
#include "base/text.h"
#include "support/settings_raw.h"

namespace tessaroven {

// Readable failures for whole-settings comparisons.
void PrintTo(const RegionalSettings& s, std::ostream* os) {
  *os << "{leadingZero=" << s.leadingZero << " layout=" << s.negativeNumberLayout << " indian=" << s.indianGrouping
      << " neg='" << Utf16ToUtf8(s.negativeSign) << "' pos='" << Utf16ToUtf8(s.positiveSign) << "' thousand='"
      << Utf16ToUtf8(s.thousandSeparator) << "' decimal='" << Utf16ToUtf8(s.decimalSign) << "' time='"
      << Utf16ToUtf8(s.timeSeparator) << "'}";
}

namespace test {
// Takes a value out of the store so that it reads as missing again. Platform
// code: the registry can delete a value, the settings API (and so the Linux
// store) cannot.
void EraseStoredRegionalValue(std::u16string_view name);
}  // namespace test

namespace {

constexpr std::int64_t kMb = 1024 * 1024;

// Values by their registry names, as a user would type them in.
RegionalValues Values(std::initializer_list<std::pair<std::u16string_view, std::u16string>> named) {
  RegionalValues values;
  for (const auto& [name, text] : named) {
    if (name == u"iLZero")
      values.leadingZero = text;
    else if (name == u"iNegNumber")
      values.negativeNumber = text;
    else if (name == u"sGrouping")
      values.grouping = text;
    else if (name == u"sNegativeSign")
      values.negativeSign = text;
    else if (name == u"sThousand")
      values.thousand = text;
    else if (name == u"sDecimal")
      values.decimal = text;
    else if (name == u"sTime")
      values.time = text;
    else
      ADD_FAILURE() << "unknown value name";
  }
  return values;
}

RegionalSettings With(void (*change)(RegionalSettings&)) {
  RegionalSettings s;
  change(s);
  return s;
}

TEST(Regional, ResolveTakesStoredThenPlatformThenFallback) {
  struct {
    const char* name;
    RegionalValues stored, platform;
    RegionalSettings expected;
  } const cases[] = {
      {"NothingAnywhere", Values({}), Values({}), RegionalSettings{}},
      {"PlatformFillsWhatStoreLacks", Values({{u"sDecimal", u","}}),
       Values({{u"sDecimal", u"'"}, {u"sThousand", u"\u00A0"}, {u"sTime", u"."}}), With([](RegionalSettings& s) {
         s.decimalSign = u",";
         s.thousandSeparator = u"\u00A0";
         s.timeSeparator = u".";
       })},
      {"LeadingZeroOnlyFirstCharacterCounts", Values({{u"iLZero", u"01"}}), Values({}),
       With([](RegionalSettings& s) { s.leadingZero = false; })},
      {"LeadingZeroOnByStoreOverridesPlatform", Values({{u"iLZero", u"1"}}), Values({{u"iLZero", u"0"}}),
       RegionalSettings{}},
      {"NegativeLayoutWithPlusSignAndTrailingText", Values({{u"iNegNumber", u"+2 "}}), Values({}),
       With([](RegionalSettings& s) { s.negativeNumberLayout = 2; })},
      {"NegativeLayoutOutOfRangeFallsToPlatform", Values({{u"iNegNumber", u"7"}}), Values({{u"iNegNumber", u"0"}}),
       With([](RegionalSettings& s) { s.negativeNumberLayout = 0; })},
      {"NegativeLayoutNegativeIsUnusable", Values({{u"iNegNumber", u"-1"}}), Values({}), RegionalSettings{}},
      {"NegativeLayoutHugeIsUnusable", Values({{u"iNegNumber", u"40000000000000000000003"}}), Values({}),
       RegionalSettings{}},
      {"NegativeLayoutWithoutDigitsIsUnusable", Values({{u"iNegNumber", u"two"}}), Values({}), RegionalSettings{}},
      {"IndianGroupingFromStore", Values({{u"sGrouping", u"3;2;0"}}), Values({}),
       With([](RegionalSettings& s) { s.indianGrouping = true; })},
      {"OtherGroupingIsGroupsOfThree", Values({{u"sGrouping", u"3;2"}}), Values({{u"sGrouping", u"3;2;0"}}),
       RegionalSettings{}},
      {"NegativeSignCutToFive", Values({{u"sNegativeSign", u"minus!"}}), Values({}),
       With([](RegionalSettings& s) { s.negativeSign = u"minus"; })},
      {"NegativeSignCutKeepsSurrogatePairsWhole", Values({{u"sNegativeSign", u"abcd\U0001F600"}}), Values({}),
       With([](RegionalSettings& s) { s.negativeSign = u"abcd"; })},
  };
  for (const auto& c : cases) EXPECT_EQ(ResolveRegionalSettings(c.stored, c.platform), c.expected) << c.name;
}

// POSIX locale data in the registry's form.
TEST(Regional, LocaleGroupingAndTimePatternsTranslate) {
  const std::pair<std::string, std::u16string> groupings[] = {{"", u""},        {"\3", u"3;0"}, {"\3\2", u"3;2;0"},
                                                              {"\3\x7f", u"3"}, {"\x7f", u""},  {"\x0c", u"12;0"}};
  for (const auto& [bytes, expected] : groupings) EXPECT_EQ(GroupingFromLocale(bytes), expected) << bytes.size();

  const std::pair<std::u16string, std::u16string> patterns[] = {
      {u"%H.%M.%S", u"."},          {u"%p %I:%M:%S", u":"},           {u"%T", u":"}, {u"%R", u":"},   {u"%r", u":"},
      {u"%-OH\u00B7%M", u"\u00B7"}, {u"%k\u65F6%M\u5206", u"\u65F6"}, {u"%%H", u""}, {u"%M %H", u""}, {u"", u""},
  };
  for (const auto& [pattern, expected] : patterns)
    EXPECT_EQ(TimeSeparatorFromPattern(pattern), expected) << Utf16ToUtf8(pattern);
}

// ---------------------------------------------------------------------------------
// The real settings store

constexpr std::array<std::u16string_view, 8> kValueNames = {
    u"iLZero", u"iNegNumber", u"sGrouping", u"sNegativeSign", u"sPositiveSign", u"sThousand", u"sDecimal", u"sTime"};

// Saves the eight values before each test and puts them back after it (under
// Wine this is the prefix's real registry, which has values of its own).
class RegionalStore : public testing::Test {
 protected:
  void SetUp() override {
    for (std::size_t i = 0; i < kValueNames.size(); ++i)
      saved_[i] = test::SettingsGetRaw(kValueNames[i], SettingsRoot::CurrentUser, kRegionalSettingsKeyPath);
  }

  void TearDown() override {
    for (std::size_t i = 0; i < kValueNames.size(); ++i) {
      if (saved_[i]) {
        EXPECT_TRUE(SettingsSetValue(saved_[i]->data.data(), static_cast<std::uint32_t>(saved_[i]->data.size()),
                                     saved_[i]->type, kValueNames[i], SettingsRoot::CurrentUser,
                                     kRegionalSettingsKeyPath));
      } else {
        test::EraseStoredRegionalValue(kValueNames[i]);
      }
    }
    ReloadRegionalSettings();
  }

  static void Store(std::u16string_view name, std::u16string_view text) {
    ASSERT_TRUE(SettingsSetString(text, name, SettingsRoot::CurrentUser, kRegionalSettingsKeyPath));
  }

  static void EraseAll() {
    for (const auto name : kValueNames) test::EraseStoredRegionalValue(name);
  }

 private:
  std::array<std::optional<test::SettingsRawValue>, 8> saved_;
};

TEST_F(RegionalStore, StoredValuesReachTheFormatters) {
  constexpr auto kSeconds = DurationStyle::kSeconds;
  constexpr auto kInt64Max = std::numeric_limits<std::int64_t>::max();
  struct {
    std::vector<std::pair<std::u16string_view, std::u16string_view>> values;
    std::int64_t bytes;
    std::u16string size;
    std::int64_t milliseconds;
    DurationStyle style;
    std::u16string duration;
  } const cases[] = {
      {{{u"sDecimal", u","}, {u"sThousand", u"."}}, kMb - 1, u"1.024 KB", 12345, kSeconds, u"12,35 seconds"},
      {{{u"sGrouping", u"3;2;0"}}, kInt64Max, u"83,88,608.00 TB", 123456789, kSeconds, u"1,23,456.79 seconds"},
      {{{u"iLZero", u"0"}}, kMb / 2, u"512 KB", 500, kSeconds, u".50 seconds"},
      {{{u"iNegNumber", u"0"}, {u"sTime", u"."}}, -kMb, u"(1.00) MB", 3725120, DurationStyle::kClock, u"1.02.05.12"},
      {{{u"iNegNumber", u"4"}, {u"sNegativeSign", u"minus!"}},
       -kMb,
       u"1.00 minus MB",
       -1500,
       kSeconds,
       u"-1.50 seconds"},
  };
  for (const auto& c : cases) {
    EraseAll();
    for (const auto& [name, text] : c.values) Store(name, text);
    ReloadRegionalSettings();
    EXPECT_EQ(FormatSize(c.bytes), c.size);
    EXPECT_EQ(FormatDuration(c.milliseconds, c.style, 2), c.duration);
  }
}

TEST_F(RegionalStore, ValuesAreReadOnceUntilReloaded) {
  Store(u"sDecimal", u",");
  ReloadRegionalSettings();
  EXPECT_EQ(FormatSize(kMb), u"1,00 MB");
  Store(u"sDecimal", u"'");
  EXPECT_EQ(FormatSize(kMb), u"1,00 MB");
  ReloadRegionalSettings();
  EXPECT_EQ(FormatSize(kMb), u"1'00 MB");
}

// An empty stored value counts as missing.
TEST_F(RegionalStore, MissingValuesComeFromTheLocaleOrTheFallbacks) {
  EraseAll();
  Store(u"sThousand", u"");
  Store(u"sDecimal", u"");
  ReloadRegionalSettings();
  const RegionalSettings loaded = *CurrentRegionalSettings();
  EXPECT_EQ(loaded, ResolveRegionalSettings({}, PlatformRegionalValues()));
  // Whatever the locale lacks, a number never loses its signs.
  EXPECT_FALSE(loaded.decimalSign.empty());
  EXPECT_FALSE(loaded.thousandSeparator.empty());
  EXPECT_FALSE(loaded.negativeSign.empty());
  EXPECT_FALSE(loaded.timeSeparator.empty());
}

TEST_F(RegionalStore, ReloadWhileOtherThreadsFormat) {
  // Formatting threads must each see one whole set of settings, never a torn or
  // freed one, while the settings are swapped under them.
  Store(u"sDecimal", u".");
  ReloadRegionalSettings();
  std::atomic<bool> stop{false};
  std::atomic<int> unexpected{0};
  std::vector<std::thread> workers;
  for (int t = 0; t < 3; ++t) {
    workers.emplace_back([&] {
      while (!stop.load()) {
        const std::u16string text = FormatSize(kMb);
        if (text != u"1.00 MB" && text != u"1,00 MB") ++unexpected;
      }
    });
  }
  for (int round = 0; round < 40; ++round) {
    Store(u"sDecimal", round % 2 == 0 ? u"," : u".");
    ReloadRegionalSettings();
  }
  stop = true;
  for (auto& worker : workers) worker.join();
  EXPECT_EQ(unexpected.load(), 0);
  EXPECT_EQ(FormatSize(kMb), u"1.00 MB");
}

}  // namespace
}  // namespace tessaroven
