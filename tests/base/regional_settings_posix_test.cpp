#include <stdlib.h>

#include <gtest/gtest.h>

#include <ostream>
#include <string>

#include "base/regional_settings.h"
#include "base/settings.h"
#include "support/test_env.h"

namespace tessaroven {

// Defined beside the portable tests.
void PrintTo(const RegionalSettings& s, std::ostream* os);

namespace test {

void EraseStoredRegionalValue(std::u16string_view name) {
  // The settings API has no delete; an empty text reads exactly like a missing
  // one.
  SettingsSetString(u"", name, SettingsRoot::CurrentUser, kRegionalSettingsKeyPath);
}

}  // namespace test

namespace {

TEST(RegionalPosix, UnknownLocaleGivesFallbacks) {
  // A LANG naming a locale that is not installed is common on minimal systems.
  const test::ScopedEnv locale("LC_ALL", "xx_XX.UTF-8");
  EXPECT_EQ(ResolveRegionalSettings({}, PlatformRegionalValues()), RegionalSettings{});
}

}  // namespace
}  // namespace tessaroven
