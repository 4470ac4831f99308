#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "base/known_folders.h"
#include "base/text.h"
#include "support/test_env.h"

namespace tessaroven {
namespace {

// Gives each test its own HOME and XDG folders and restores the run's afterwards.
class SpecialFoldersPosix : public testing::Test {
 protected:
  void SetUp() override {
    std::filesystem::create_directories(home_);
    std::filesystem::create_directories(config_);
  }

  void WriteUserDirs(const std::string& content) {
    ASSERT_TRUE(test::WriteBytes(Utf8ToUtf16(config_ + "/user-dirs.dirs"), content));
  }

  std::u16string Home(const std::string& below = "") const { return Utf8ToUtf16(home_ + below); }

  test::TempDir dir_;
  std::string home_ = Utf16ToUtf8(dir_.Path()) + "home";
  std::string config_ = Utf16ToUtf8(dir_.Path()) + "config";
  test::ScopedEnv homeVariable_{"HOME", home_.c_str()};
  test::ScopedEnv configVariable_{"XDG_CONFIG_HOME", config_.c_str()};
  test::ScopedEnv dataVariable_{"XDG_DATA_HOME", dir_.Path() + u"data"};
};

TEST_F(SpecialFoldersPosix, DataAndProfileFollowTheBaseDirectories) {
  EXPECT_EQ(GetSpecialFolder(kFolderUserProfile), Home("/"));
  EXPECT_EQ(GetSpecialFolder(kFolderAppData), dir_.Path() + u"data/");

  unsetenv("XDG_DATA_HOME");
  EXPECT_EQ(GetSpecialFolder(kFolderAppData), Home("/.local/share/"));
  // A relative value is invalid by the XDG rules and ignored.
  setenv("XDG_DATA_HOME", "relative/data", 1);
  EXPECT_EQ(GetSpecialFolder(kFolderAppData), Home("/.local/share/"));
  // Without XDG_CONFIG_HOME the user folders are read from ~/.config.
  unsetenv("XDG_CONFIG_HOME");
  ASSERT_TRUE(test::MakeFolder(Home("/.config")));
  ASSERT_TRUE(test::WriteBytes(Home("/.config/user-dirs.dirs"), "XDG_MUSIC_DIR=\"$HOME/from dot config\"\n"));
  EXPECT_EQ(GetSpecialFolder(kFolderMyMusic), Home("/from dot config/"));
  setenv("HOME", (home_ + "//").c_str(), 1);
  EXPECT_EQ(GetSpecialFolder(kFolderUserProfile), Home("/"));
}

// The four user folders by their key in user-dirs.dirs and their default name.
TEST_F(SpecialFoldersPosix, UserFoldersFollowTheUserDirsFile) {
  struct {
    int id;
    std::string key, defaultName;
  } const cases[] = {{kFolderDocuments, "DOCUMENTS", "Documents"},
                     {kFolderMyMusic, "MUSIC", "Music"},
                     {kFolderMyVideos, "VIDEOS", "Videos"},
                     {kFolderDesktop, "DESKTOP", "Desktop"}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.key);
    std::filesystem::remove(config_ + "/user-dirs.dirs");
    const std::u16string byDefault = Home("/" + c.defaultName + "/");
    EXPECT_EQ(GetSpecialFolder(c.id), byDefault);
    WriteUserDirs("XDG_TEMPLATES_DIR=\"$HOME/Templates\"\n");  // silent on this folder
    EXPECT_EQ(GetSpecialFolder(c.id), byDefault);
    WriteUserDirs("XDG_" + c.key + "_DIR=\"$HOME/Mine " + c.key + "\"\n");
    EXPECT_EQ(GetSpecialFolder(c.id), Home("/Mine " + c.key + "/"));
    WriteUserDirs("XDG_" + c.key + "_DIR=\"/elsewhere\"\n");
    EXPECT_EQ(GetSpecialFolder(c.id, u"/fallback/"), u"/elsewhere/");
    WriteUserDirs("XDG_" + c.key + "_DIR=\"$HOME/\"\n");  // switched off
    EXPECT_EQ(GetSpecialFolder(c.id), u"");
    EXPECT_EQ(GetSpecialFolder(c.id, u"/fallback/"), u"/fallback/");
  }
}

TEST_F(SpecialFoldersPosix, PublicFoldersOnlyWhenTheyExist) {
  std::filesystem::create_directories(home_ + "/Public/Videos");
  EXPECT_EQ(GetSpecialFolder(kFolderPublicVideos), Home("/Public/Videos/"));

  WriteUserDirs("XDG_PUBLICSHARE_DIR=\"$HOME/Shared\"\n");
  EXPECT_EQ(GetSpecialFolder(kFolderPublicDocuments), u"");
  EXPECT_EQ(GetSpecialFolder(kFolderPublicVideos, u"/fallback/"), u"/fallback/");
  std::filesystem::create_directories(home_ + "/Shared/Music");
  EXPECT_EQ(GetSpecialFolder(kFolderPublicDocuments), Home("/Shared/"));
  EXPECT_EQ(GetSpecialFolder(kFolderPublicMusic), Home("/Shared/Music/"));
  EXPECT_EQ(GetSpecialFolder(kFolderPublicVideos), u"");

  // Switched off in the file: not offered even though the folders are there.
  WriteUserDirs("XDG_PUBLICSHARE_DIR=\"$HOME\"\n");
  EXPECT_EQ(GetSpecialFolder(kFolderPublicMusic), u"");
}

}  // namespace
}  // namespace tessaroven
