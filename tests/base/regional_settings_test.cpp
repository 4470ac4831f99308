#include "base/regional_settings.h"

#include <gtest/gtest.h>

#include <array>
#include <limits>
#include <optional>
#include <ostream>
#include <utility>

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

// The eight values under their names, each set apart from what any locale gives.
constexpr std::pair<std::u16string_view, std::u16string_view> kStored[] = {
    {u"iLZero", u"0"},           {u"iNegNumber", u"0"}, {u"sGrouping", u"3;2;0"}, {u"sNegativeSign", u"minus!"},
    {u"sPositiveSign", u"plus"}, {u"sThousand", u"."},  {u"sDecimal", u","},      {u"sTime", u"h"}};

// Saves the eight values before each test and puts them back after it (under
// Wine this is the prefix's real registry, which has values of its own).
class RegionalStore : public testing::Test {
 protected:
  void SetUp() override {
    for (std::size_t i = 0; i < saved_.size(); ++i)
      saved_[i] = test::SettingsGetRaw(kStored[i].first, SettingsRoot::CurrentUser, kRegionalSettingsKeyPath);
  }

  void TearDown() override {
    for (std::size_t i = 0; i < saved_.size(); ++i) {
      if (saved_[i]) {
        EXPECT_TRUE(SettingsSetValue(saved_[i]->data.data(), static_cast<std::uint32_t>(saved_[i]->data.size()),
                                     saved_[i]->type, kStored[i].first, SettingsRoot::CurrentUser,
                                     kRegionalSettingsKeyPath));
      } else {
        test::EraseStoredRegionalValue(kStored[i].first);
      }
    }
    ReloadRegionalSettings();
  }

 private:
  std::array<std::optional<test::SettingsRawValue>, std::size(kStored)> saved_;
};

// Each of the eight values is read under its own name and reaches the formatters
// that take no settings of their own.
TEST_F(RegionalStore, StoredValuesReachTheFormatters) {
  for (const auto& [name, text] : kStored)
    ASSERT_TRUE(SettingsSetString(text, name, SettingsRoot::CurrentUser, kRegionalSettingsKeyPath));
  ReloadRegionalSettings();
  EXPECT_EQ(*CurrentRegionalSettings(), (RegionalSettings{false, 0, true, u"minus", u"plus", u".", u",", u"h"}));
  EXPECT_EQ(FormatSize(std::numeric_limits<std::int64_t>::max()), u"83.88.608,00 TB");
  EXPECT_EQ(FormatSize(-kMb), u"(1,00) MB");
  EXPECT_EQ(FormatDuration(3725120, DurationStyle::kClock, 2), u"1h02h05,12");
  // A negative duration keeps a plain "-" whatever the negative layout.
  EXPECT_EQ(FormatDuration(-500, DurationStyle::kSeconds, 2), u"-,50 seconds");
}

}  // namespace
}  // namespace tessaroven
