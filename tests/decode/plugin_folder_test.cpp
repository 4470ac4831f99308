#include "decode/plugin_folder.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "base/path.h"
#include "decode/fake_plugins.h"
#include "support/test_env.h"

namespace tessaroven {
namespace {

class PluginFolderTest : public test::PluginFolderFixture {};

TEST_F(PluginFolderTest, ListsLibrariesOnlySkippingFoldersNamedLikeOne) {
  const std::u16string alpha = Install(u"alpha");
  const std::u16string beta = Install(u"beta");
  ASSERT_TRUE(test::MakeFolder(Folder() + u"x" + std::u16string(test::kLibrarySuffix)));
  ASSERT_TRUE(test::MakeFolder(Folder() + u"sub"));
  Install(u"alpha", u"sub" + std::u16string(1, kPathSeparator) + u"deep" + std::u16string(test::kLibrarySuffix));
  ASSERT_TRUE(test::WriteBytes(Folder() + u"readme.txt", "text"));
  ASSERT_TRUE(test::WriteBytes(Folder() + u"plugin.so.bak", "text"));

  std::vector<std::u16string> found = ListPluginLibraries(Folder());
  std::sort(found.begin(), found.end());
  std::vector<std::u16string> expected{alpha, beta};
  std::sort(expected.begin(), expected.end());
  EXPECT_EQ(found, expected);
}

TEST_F(PluginFolderTest, OverrideIsUsedAndDefaultSitsBesideTheExecutable) {
  EXPECT_EQ(PluginFolder(), Folder());
  SetPluginFolderOverride(std::nullopt);
  const std::u16string exe = ExecutableFolder();
  ASSERT_FALSE(exe.empty());
  EXPECT_TRUE(IsPathSeparator(exe.back()));
  // The test executable has no "decoder" folder beside it.
  if constexpr (kIsWindows) {
    EXPECT_EQ(PluginFolder(), exe + u"decoder\\");
  } else {
    EXPECT_EQ(PluginFolder(), exe + u"../lib/tessaroven/decoder/");
  }
}

}  // namespace
}  // namespace tessaroven
