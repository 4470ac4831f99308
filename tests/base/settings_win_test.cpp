// The settings functions read and write the registry itself.
#include <windows.h>

#include <gtest/gtest.h>

#include <atomic>
#include <string>

#include "base/settings.h"
#include "base/settings_test_key.h"
#include "base/text.h"

namespace tessaroven {
namespace test {

ScopedSettingsKey::ScopedSettingsKey() {
  static std::atomic<int> counter{0};
  path_ = u"Software\\Orvandelle\\TessarovenTest\\" +
          AsciiToUtf16(std::to_string(GetCurrentProcessId()) + "-" + std::to_string(counter++));
}

ScopedSettingsKey::~ScopedSettingsKey() {
  RegDeleteTreeW(HKEY_CURRENT_USER, ToOsString(path_).c_str());
  RegDeleteKeyW(HKEY_CURRENT_USER, L"Software\\Orvandelle\\TessarovenTest");  // only when no test uses it
}

}  // namespace test

namespace {

// What the registry itself holds, read past the settings functions.
TEST(SettingsRegistry, ValuesAndKeysLandInTheRegistry) {
  test::ScopedSettingsKey key;
  const std::wstring path = ToOsString(key.Path());
  ASSERT_TRUE(SettingsSetDword(42, u"Number", SettingsRoot::CurrentUser, key.Path()));
  ASSERT_TRUE(SettingsSetString(u"\u00E9t\u00E9", u"Text", SettingsRoot::CurrentUser, key.Path()));
  DWORD number = 0;
  DWORD size = sizeof number;
  ASSERT_EQ(RegGetValueW(HKEY_CURRENT_USER, path.c_str(), L"Number", RRF_RT_REG_DWORD, nullptr, &number, &size),
            ERROR_SUCCESS);
  EXPECT_EQ(number, 42u);
  wchar_t text[16] = {};
  DWORD type = 0;
  size = sizeof text;
  ASSERT_EQ(RegGetValueW(HKEY_CURRENT_USER, path.c_str(), L"Text", RRF_RT_ANY, &type, text, &size), ERROR_SUCCESS);
  EXPECT_EQ(type, static_cast<DWORD>(REG_SZ));
  EXPECT_EQ(size, 8u);  // three characters and the NUL
  EXPECT_EQ(std::wstring(text), L"\u00E9t\u00E9");

  // Reading creates a missing key.
  EXPECT_EQ(SettingsGetDword(u"Any", SettingsRoot::CurrentUser, FromOsString(path + L"\\Created")), 0u);
  HKEY handle = nullptr;
  EXPECT_EQ(RegOpenKeyExW(HKEY_CURRENT_USER, (path + L"\\Created").c_str(), 0, KEY_READ, &handle), ERROR_SUCCESS);
  if (handle) RegCloseKey(handle);
}

TEST(SettingsRegistry, OtherRootsReachTheirHives) {
  // Every Windows installation (and Wine prefix) has the program-folder values.
  EXPECT_FALSE(SettingsGetString(u"ProgramFilesDir", SettingsRoot::LocalMachine,
                                 std::u16string_view(u"SOFTWARE\\Microsoft\\Windows\\CurrentVersion"))
                   .empty());
  EXPECT_EQ(SettingsGetString(u"ProgramFilesDir", SettingsRoot::CurrentUser,
                              std::u16string_view(u"SOFTWARE\\Microsoft\\Windows\\CurrentVersion")),
            u"");
}

}  // namespace
}  // namespace tessaroven
