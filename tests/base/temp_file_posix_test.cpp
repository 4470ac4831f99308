#include <sys/stat.h>

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <regex>
#include <string>

#include "base/temp_file.h"
#include "base/text.h"
#include "support/test_env.h"

namespace tessaroven {
namespace {

struct TmpDirCase {
  const char* name;
  const char* value;  // nullptr: unset
  std::u16string folder;
};

class TempFolderPosix : public testing::TestWithParam<TmpDirCase> {};

TEST_P(TempFolderPosix, FollowsTmpDirElseTmp) {
  const test::ScopedEnv scoped("TMPDIR", GetParam().value);
  EXPECT_EQ(TempFolder(), GetParam().folder);
}

INSTANTIATE_TEST_SUITE_P(TempFile, TempFolderPosix,
                         testing::Values(TmpDirCase{"Unset", nullptr, u"/tmp/"}, TmpDirCase{"Empty", "", u"/tmp/"},
                                         TmpDirCase{"Given", "/var/tmp", u"/var/tmp/"},
                                         TmpDirCase{"TrailingSlashesCollapse", "/var/tmp//", u"/var/tmp/"}),
                         [](const auto& p) { return std::string(p.param.name); });

TEST(TempFilePosix, MissingTempFolderIsCreatedWithItsParents) {
  test::TempDir dir;
  const std::string folder = Utf16ToUtf8(dir.Path()) + "not/yet/there";
  const test::ScopedEnv scoped("TMPDIR", folder.c_str());
  std::u16string path;
  ASSERT_TRUE(CreateTempFile(path, u"QzS"));
  const std::string name = Utf16ToUtf8(path);
  ASSERT_EQ(name.substr(0, folder.size() + 1), folder + "/");
  EXPECT_TRUE(std::regex_match(name.substr(folder.size() + 1), std::regex(R"(QzS[0-9A-F]{8}\.tmp)"))) << name;
  EXPECT_TRUE(test::FileExists(path));
}

TEST(TempFilePosix, FileIsPrivateToTheUser) {
  std::u16string path;
  ASSERT_TRUE(CreateTempFile(path));
  struct stat info {};
  ASSERT_EQ(::stat(Utf16ToUtf8(path).c_str(), &info), 0);
  EXPECT_EQ(info.st_mode & 0777, 0600u);
  std::filesystem::remove(Utf16ToUtf8(path));
}

TEST(TempFilePosix, UnusableTempFolderFails) {
  test::TempDir dir;
  // A file where the folder should be: neither creating in it nor creating it works.
  ASSERT_TRUE(test::WriteBytes(dir / u"blocker", "x"));
  const std::string folder = Utf16ToUtf8(dir.Path()) + "blocker/sub";
  const test::ScopedEnv scoped("TMPDIR", folder.c_str());
  std::u16string path;
  EXPECT_FALSE(CreateTempFile(path));
}

}  // namespace
}  // namespace tessaroven
