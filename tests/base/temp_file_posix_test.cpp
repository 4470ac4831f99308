#include <sys/stat.h>

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "base/temp_file.h"
#include "base/text.h"
#include "support/test_env.h"

namespace tessaroven {
namespace {

// The file may hold the names of private files: only its owner may read it.
TEST(TempFilePosix, FolderFollowsTmpDirElseTmpAndTheFileIsPrivate) {
  const std::pair<const char*, std::u16string> cases[] = {
      {nullptr, u"/tmp/"}, {"", u"/tmp/"}, {"/var/tmp", u"/var/tmp/"}, {"/var/tmp//", u"/var/tmp/"}};
  for (const auto& [value, folder] : cases) {
    const test::ScopedEnv scoped("TMPDIR", value);
    EXPECT_EQ(TempFolder(), folder) << (value ? value : "unset");
  }
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
  const test::ScopedEnv scoped("TMPDIR", dir / u"blocker/sub");
  std::u16string path;
  EXPECT_FALSE(CreateTempFile(path));
}

}  // namespace
}  // namespace tessaroven
