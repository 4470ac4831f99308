#include "base/regional_settings.h"

#include <gtest/gtest.h>

#include <array>
#include <atomic>
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

// The tables name only the fields a case sets; the others keep their defaults, which
// is what GCC's missing-initializer warning would complain about.
#pragma GCC diagnostic ignored "-Wmissing-field-initializers"

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

TEST(Regional, ResolveTakesStoredThenPlatformThenFallback) {
  struct {
    const char* name;
    RegionalValues stored, platform;
    RegionalSettings expected;
  } const cases[] = {
      {"NothingAnywhere", {}, {}, {}},
      {"PlatformFillsWhatStoreLacks",
       {.decimal = u","},
       {.thousand = u"\u00A0", .decimal = u"'", .time = u"."},
       {.thousandSeparator = u"\u00A0", .decimalSign = u",", .timeSeparator = u"."}},
      {"LeadingZeroOnlyFirstCharacterCounts", {.leadingZero = u"01"}, {}, {.leadingZero = false}},
      {"LeadingZeroOnByStoreOverridesPlatform", {.leadingZero = u"1"}, {.leadingZero = u"0"}, {}},
      {"NegativeLayoutWithPlusSignAndTrailingText", {.negativeNumber = u"+2 "}, {}, {.negativeNumberLayout = 2}},
      {"NegativeLayoutOutOfRangeFallsToPlatform",
       {.negativeNumber = u"7"},
       {.negativeNumber = u"0"},
       {.negativeNumberLayout = 0}},
      {"NegativeLayoutNegativeIsUnusable", {.negativeNumber = u"-1"}, {}, {}},
      {"NegativeLayoutHugeIsUnusable", {.negativeNumber = u"40000000000000000000003"}, {}, {}},
      {"NegativeLayoutWithoutDigitsIsUnusable", {.negativeNumber = u"two"}, {}, {}},
      {"IndianGroupingFromStore", {.grouping = u"3;2;0"}, {}, {.indianGrouping = true}},
      {"OtherGroupingIsGroupsOfThree", {.grouping = u"3;2"}, {.grouping = u"3;2;0"}, {}},
      {"NegativeSignCutToFive", {.negativeSign = u"minus!"}, {}, {.negativeSign = u"minus"}},
      {"NegativeSignCutKeepsSurrogatePairsWhole", {.negativeSign = u"abcd\U0001F600"}, {}, {.negativeSign = u"abcd"}},
      {"PositiveSignIsKept", {.positiveSign = u"+"}, {.positiveSign = u"plus"}, {.positiveSign = u"+"}},
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

// Each of the eight values is read under its own name and reaches the formatters
// that take no settings of their own.
TEST_F(RegionalStore, StoredValuesReachTheFormatters) {
  EraseAll();
  const std::pair<std::u16string_view, std::u16string_view> stored[] = {
      {u"iLZero", u"0"},           {u"iNegNumber", u"0"}, {u"sGrouping", u"3;2;0"}, {u"sNegativeSign", u"minus!"},
      {u"sPositiveSign", u"plus"}, {u"sThousand", u"."},  {u"sDecimal", u","},      {u"sTime", u"h"}};
  for (const auto& [name, text] : stored) Store(name, text);
  ReloadRegionalSettings();
  EXPECT_EQ(*CurrentRegionalSettings(), (RegionalSettings{false, 0, true, u"minus", u"plus", u".", u",", u"h"}));
  EXPECT_EQ(FormatSize(std::numeric_limits<std::int64_t>::max()), u"83.88.608,00 TB");
  EXPECT_EQ(FormatSize(-kMb), u"(1,00) MB");
  EXPECT_EQ(FormatDuration(3725120, DurationStyle::kClock, 2), u"1h02h05,12");
  // A negative duration keeps a plain "-" whatever the negative layout.
  EXPECT_EQ(FormatDuration(-500, DurationStyle::kSeconds, 2), u"-,50 seconds");
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
