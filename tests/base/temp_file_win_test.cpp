#include <windows.h>

#include <gtest/gtest.h>

#include <regex>
#include <string>

#include "base/temp_file.h"
#include "base/text.h"
#include "support/test_env.h"

namespace tessaroven {
namespace {

TEST(TempFileWin, MissingTempFolderUsesTheFallbackNameAndIsCreated) {
  test::TempDir dir;
  const std::u16string folder = dir / u"not\\yet\\there\\";
  const test::ScopedEnv scoped("TMP", folder);  // read first by GetTempPathW
  ASSERT_EQ(TempFolder(), folder);

  std::u16string path;
  ASSERT_TRUE(CreateTempFile(path, u"QzS"));
  // The system's naming needs an existing folder; the fallback is prefix + at
  // most four decimal digits.
  ASSERT_EQ(path.substr(0, folder.size()), folder);
  EXPECT_TRUE(std::regex_match(Utf16ToUtf8(path.substr(folder.size())), std::regex(R"(QzS[0-9]{1,4}\.tmp)")))
      << Utf16ToUtf8(path);
  EXPECT_TRUE(test::FileExists(path));
}

TEST(TempFileWin, SystemNamingKeepsThreePrefixCharacters) {
  std::u16string path;
  ASSERT_TRUE(CreateTempFile(path, u"Tessaroven"));
  const std::u16string name = path.substr(TempFolder().size());
  EXPECT_TRUE(std::regex_match(Utf16ToUtf8(name), std::regex(R"(Tes[0-9A-Fa-f]{1,4}\.tmp)"))) << Utf16ToUtf8(name);
  DeleteFileW(ToOsString(path).c_str());
}

TEST(TempFileWin, ReadOnlyPreviousFileIsStillDeleted) {
  std::u16string path;
  ASSERT_TRUE(CreateTempFile(path));
  const std::u16string first = path;
  ASSERT_TRUE(SetFileAttributesW(ToOsString(first).c_str(), FILE_ATTRIBUTE_READONLY));

  ASSERT_TRUE(CreateTempFile(path));
  EXPECT_FALSE(test::FileExists(first));
  DeleteFileW(ToOsString(path).c_str());
}

}  // namespace
}  // namespace tessaroven
