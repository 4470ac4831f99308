#include <windows.h>

#include <gtest/gtest.h>

#include <string>

#include "base/regional_settings.h"
#include "base/text.h"

namespace tessaroven {
namespace test {

void EraseStoredRegionalValue(std::u16string_view name) {
  const std::wstring valueName = ToOsString(name);
  RegDeleteKeyValueW(HKEY_CURRENT_USER, L"Control Panel\\International", valueName.c_str());
}

}  // namespace test

namespace {

std::u16string UserLocaleInfo(LCTYPE type) {
  wchar_t buffer[LOCALE_NAME_MAX_LENGTH + 1] = {};
  const int length = GetLocaleInfoEx(LOCALE_NAME_USER_DEFAULT, type, buffer, LOCALE_NAME_MAX_LENGTH + 1);
  return length > 1 ? FromOsString(std::wstring(buffer, static_cast<std::size_t>(length - 1))) : std::u16string();
}

TEST(RegionalWin, UserLocaleSuppliesEveryValue) {
  // Windows always knows all eight, so the fixed fallbacks never apply there.
  const RegionalValues values = PlatformRegionalValues();
  EXPECT_EQ(values.decimal, UserLocaleInfo(LOCALE_SDECIMAL));
  EXPECT_EQ(values.thousand, UserLocaleInfo(LOCALE_STHOUSAND));
  EXPECT_EQ(values.time, UserLocaleInfo(LOCALE_STIME));
  for (const auto* text : {&values.leadingZero, &values.negativeNumber, &values.grouping, &values.negativeSign,
                           &values.thousand, &values.decimal, &values.time})
    EXPECT_FALSE(text->empty());
}

}  // namespace
}  // namespace tessaroven
