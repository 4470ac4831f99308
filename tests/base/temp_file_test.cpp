#include "base/temp_file.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <set>
#include <string>
#include <vector>

#include "base/text.h"
#include "support/test_env.h"

namespace tessaroven {
namespace {

using test::FileExists;
using test::ReadBytes;
using test::WriteBytes;

void RemoveFile(const std::u16string& path) {
  std::error_code error;
  std::filesystem::remove(std::filesystem::path(ToOsString(path)), error);
}

TEST(TempFile, CreatesAnEmptyFileNamedFromThePrefix) {
  for (const auto& [prefix, expected] : {std::pair{u"QzS", u"QzS"}, std::pair{u"", u"TMP"}}) {
    std::u16string path;
    ASSERT_TRUE(CreateTempFile(path, prefix));
    const std::u16string head = TempFolder() + expected;
    EXPECT_EQ(path.substr(0, head.size()), head);
    EXPECT_GT(path.size(), head.size() + 4) << "no unique part";
    EXPECT_EQ(path.substr(path.size() - 4), u".tmp");
    EXPECT_TRUE(FileExists(path));
    EXPECT_EQ(ReadBytes(path), "");
    RemoveFile(path);
  }
}

TEST(TempFile, ThePreviousFileIsDeletedFirst) {
  std::u16string path;
  ASSERT_TRUE(CreateTempFile(path, u"QzS"));
  const std::u16string first = path;
  ASSERT_TRUE(WriteBytes(first, "list of files"));

  ASSERT_TRUE(CreateTempFile(path, u"QzS"));
  EXPECT_FALSE(FileExists(first));
  EXPECT_TRUE(FileExists(path));
  EXPECT_EQ(ReadBytes(path), "");
  RemoveFile(path);
}

TEST(TempFile, APreviousPathThatIsGoneIsNoProblem) {
  test::TempDir dir;
  std::u16string path = dir / u"never-existed.tmp";
  ASSERT_TRUE(CreateTempFile(path));
  EXPECT_TRUE(FileExists(path));
  RemoveFile(path);
}

TEST(TempFile, ManyFilesAllGetTheirOwnName) {
  std::set<std::u16string> names;
  std::vector<std::u16string> made;
  for (int i = 0; i < 300; ++i) {
    std::u16string path;
    ASSERT_TRUE(CreateTempFile(path, u"Uni"));
    made.push_back(path);
    names.insert(path);
  }
  EXPECT_EQ(names.size(), made.size());
  for (const auto& path : made) {
    EXPECT_TRUE(FileExists(path));
    RemoveFile(path);
  }
}

TEST(TempFile, SharedRandomNumbersStayWithinTheLimit) {
  std::set<std::uint32_t> seen;
  for (int i = 0; i < 2000; ++i) {
    const std::uint32_t n = SharedRandomNumber(9999);
    EXPECT_LE(n, 9999u);
    seen.insert(n);
  }
  EXPECT_GT(seen.size(), 1000u) << "numbers barely vary";

  std::set<std::uint32_t> small;
  for (int i = 0; i < 1000; ++i) small.insert(SharedRandomNumber(3));
  EXPECT_EQ(small, (std::set<std::uint32_t>{0, 1, 2, 3}));
  EXPECT_EQ(SharedRandomNumber(0), 0u);
}

}  // namespace
}  // namespace tessaroven
