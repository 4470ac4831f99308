#include "base/temp_file.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <regex>
#include <string>

#include "base/platform.h"
#include "base/text.h"
#include "support/native_path.h"
#include "support/test_env.h"

namespace tessaroven {
namespace {

using test::FileExists;
using test::ReadBytes;

void RemoveFile(const std::u16string& path) {
  std::error_code error;
  std::filesystem::remove(std::filesystem::path(ToOsString(path)), error);
}

// Whether `path` is a file name in `folder` that matches `pattern`.
testing::AssertionResult NamedInFolder(const std::u16string& path, const std::u16string& folder,
                                       const std::string& pattern) {
  if (path.substr(0, folder.size()) == folder &&
      std::regex_match(Utf16ToUtf8(path.substr(folder.size())), std::regex(pattern)))
    return testing::AssertionSuccess();
  return testing::AssertionFailure() << Utf16ToUtf8(path) << " is no " << pattern << " in " << Utf16ToUtf8(folder);
}

// Linux adds eight random hex digits to the whole prefix; Windows lets the system
// name the file, which keeps three characters of the prefix. Each call first deletes
// the file the path names, read-only too (on Windows such a file is only deleted once
// that is undone); a path whose file is gone is no problem.
TEST(TempFile, CreatesAnEmptyFileNamedFromThePrefixInPlaceOfThePreviousOne) {
  struct {
    std::u16string prefix;
    std::string posixName, windowsName;
  } const cases[] = {
      {u"QzS", R"(QzS[0-9A-F]{8}\.tmp)", R"(QzS[0-9A-Fa-f]{1,4}\.tmp)"},
      {u"", R"(TMP[0-9A-F]{8}\.tmp)", R"(TMP[0-9A-Fa-f]{1,4}\.tmp)"},
      {u"Tessaroven", R"(Tessaroven[0-9A-F]{8}\.tmp)", R"(Tes[0-9A-Fa-f]{1,4}\.tmp)"},
  };
  std::u16string path;
  for (const auto& c : cases) {
    const std::u16string previous = path;
    ASSERT_TRUE(CreateTempFile(path, c.prefix));
    EXPECT_TRUE(previous.empty() || !FileExists(previous)) << Utf16ToUtf8(previous);
    EXPECT_TRUE(NamedInFolder(path, TempFolder(), kIsWindows ? c.windowsName : c.posixName));
    EXPECT_TRUE(FileExists(path));
    EXPECT_EQ(ReadBytes(path), "");
    ASSERT_TRUE(test::WriteBytes(path, "list of files"));
    std::filesystem::permissions(std::filesystem::path(ToOsString(path)), std::filesystem::perms::owner_read);
  }
  ASSERT_TRUE(CreateTempFile(path));
  RemoveFile(path);
  ASSERT_TRUE(CreateTempFile(path));
  EXPECT_TRUE(FileExists(path));
  RemoveFile(path);
}

// A missing temporary folder is made with its parents; on Windows the system cannot
// name a file there, and the name is the prefix and at most four decimal digits.
TEST(TempFile, MissingTempFolderIsCreatedWithItsParents) {
  test::TempDir dir;
  const std::u16string folder = dir / test::Native(u"not/yet/there/");
  const test::ScopedEnv scoped(kIsWindows ? "TMP" : "TMPDIR", folder);
  ASSERT_EQ(TempFolder(), folder);
  std::u16string path;
  ASSERT_TRUE(CreateTempFile(path, u"QzS"));
  EXPECT_TRUE(NamedInFolder(path, folder, kIsWindows ? R"(QzS[0-9]{1,4}\.tmp)" : R"(QzS[0-9A-F]{8}\.tmp)"));
  EXPECT_TRUE(FileExists(path));
}

}  // namespace
}  // namespace tessaroven
