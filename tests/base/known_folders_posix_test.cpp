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
    for (const char* name : {"HOME", "XDG_CONFIG_HOME", "XDG_DATA_HOME"}) {
      const char* value = std::getenv(name);
      saved_.push_back({name, value ? std::optional<std::string>(value) : std::nullopt});
    }
    home_ = Utf16ToUtf8(dir_.Path()) + "home";
    config_ = Utf16ToUtf8(dir_.Path()) + "config";
    std::filesystem::create_directories(home_);
    std::filesystem::create_directories(config_);
    setenv("HOME", home_.c_str(), 1);
    setenv("XDG_CONFIG_HOME", config_.c_str(), 1);
    setenv("XDG_DATA_HOME", (Utf16ToUtf8(dir_.Path()) + "data").c_str(), 1);
  }

  void TearDown() override {
    for (const auto& [name, value] : saved_) {
      if (value) {
        setenv(name.c_str(), value->c_str(), 1);
      } else {
        unsetenv(name.c_str());
      }
    }
  }

  void WriteUserDirs(const std::string& content) {
    ASSERT_TRUE(test::WriteBytes(Utf8ToUtf16(config_ + "/user-dirs.dirs"), content));
  }

  std::u16string Home(const std::string& below = "") const { return Utf8ToUtf16(home_ + below); }

  test::TempDir dir_;
  std::string home_;
  std::string config_;
  std::vector<std::pair<std::string, std::optional<std::string>>> saved_;
};

TEST_F(SpecialFoldersPosix, DataAndProfileFollowTheBaseDirectories) {
  EXPECT_EQ(GetSpecialFolder(kFolderUserProfile), Home("/"));
  EXPECT_EQ(GetSpecialFolder(kFolderAppData), dir_.Path() + u"data/");

  unsetenv("XDG_DATA_HOME");
  EXPECT_EQ(GetSpecialFolder(kFolderAppData), Home("/.local/share/"));
  // A relative value is invalid by the XDG rules and ignored.
  setenv("XDG_DATA_HOME", "relative/data", 1);
  EXPECT_EQ(GetSpecialFolder(kFolderAppData), Home("/.local/share/"));
  setenv("HOME", (home_ + "//").c_str(), 1);
  EXPECT_EQ(GetSpecialFolder(kFolderUserProfile), Home("/"));
}

struct UserDirCase {
  const char* name;
  int id;
  const char* key;
  const char* defaultName;
};

class SpecialFoldersUserDir : public SpecialFoldersPosix, public testing::WithParamInterface<UserDirCase> {};

TEST_P(SpecialFoldersUserDir, DefaultWithoutAFileOrWhenTheFileIsSilent) {
  const auto& c = GetParam();
  const std::u16string expected = Home("/" + std::string(c.defaultName) + "/");
  EXPECT_EQ(GetSpecialFolder(c.id), expected);
  WriteUserDirs("XDG_TEMPLATES_DIR=\"$HOME/Templates\"\n");
  EXPECT_EQ(GetSpecialFolder(c.id), expected);
}

TEST_P(SpecialFoldersUserDir, TheFileDecides) {
  const auto& c = GetParam();
  WriteUserDirs(std::string("XDG_") + c.key + "_DIR=\"$HOME/Mine " + c.key + "\"\n");
  EXPECT_EQ(GetSpecialFolder(c.id), Home("/Mine " + std::string(c.key) + "/"));
  WriteUserDirs(std::string("XDG_") + c.key + "_DIR=\"/elsewhere\"\n");
  EXPECT_EQ(GetSpecialFolder(c.id, u"/fallback/"), u"/elsewhere/");
}

TEST_P(SpecialFoldersUserDir, DisabledFolderYieldsTheFallbackOrNothing) {
  const auto& c = GetParam();
  WriteUserDirs(std::string("XDG_") + c.key + "_DIR=\"$HOME/\"\n");
  EXPECT_EQ(GetSpecialFolder(c.id), u"");
  EXPECT_EQ(GetSpecialFolder(c.id, u"/fallback/"), u"/fallback/");
}

TEST_F(SpecialFoldersPosix, ConfigHomeDefaultsToDotConfig) {
  unsetenv("XDG_CONFIG_HOME");
  std::filesystem::create_directories(home_ + "/.config");
  ASSERT_TRUE(test::WriteBytes(Home("/.config/user-dirs.dirs"), "XDG_MUSIC_DIR=\"$HOME/from dot config\"\n"));
  EXPECT_EQ(GetSpecialFolder(kFolderMyMusic), Home("/from dot config/"));
}

INSTANTIATE_TEST_SUITE_P(SpecialFolders, SpecialFoldersUserDir,
                         testing::Values(UserDirCase{"Documents", kFolderDocuments, "DOCUMENTS", "Documents"},
                                         UserDirCase{"Music", kFolderMyMusic, "MUSIC", "Music"},
                                         UserDirCase{"Videos", kFolderMyVideos, "VIDEOS", "Videos"},
                                         UserDirCase{"Desktop", kFolderDesktop, "DESKTOP", "Desktop"}),
                         [](const auto& p) { return std::string(p.param.name); });

TEST_F(SpecialFoldersPosix, PublicFoldersOnlyWhenTheyExist) {
  WriteUserDirs("XDG_PUBLICSHARE_DIR=\"$HOME/Shared\"\n");
  EXPECT_EQ(GetSpecialFolder(kFolderPublicDocuments), u"");
  EXPECT_EQ(GetSpecialFolder(kFolderPublicMusic), u"");
  EXPECT_EQ(GetSpecialFolder(kFolderPublicVideos, u"/fallback/"), u"/fallback/");

  std::filesystem::create_directories(home_ + "/Shared/Music");
  EXPECT_EQ(GetSpecialFolder(kFolderPublicDocuments), Home("/Shared/"));
  EXPECT_EQ(GetSpecialFolder(kFolderPublicMusic), Home("/Shared/Music/"));
  EXPECT_EQ(GetSpecialFolder(kFolderPublicVideos), u"");

  std::filesystem::create_directories(home_ + "/Shared/Videos");
  EXPECT_EQ(GetSpecialFolder(kFolderPublicVideos), Home("/Shared/Videos/"));

  // Switched off in the file: not offered even though the folders are there.
  WriteUserDirs("XDG_PUBLICSHARE_DIR=\"$HOME\"\n");
  EXPECT_EQ(GetSpecialFolder(kFolderPublicMusic), u"");
}

TEST_F(SpecialFoldersPosix, PublicFolderDefaultsToPublic) {
  std::filesystem::create_directories(home_ + "/Public/Videos");
  EXPECT_EQ(GetSpecialFolder(kFolderPublicVideos), Home("/Public/Videos/"));
}

class WindowsOnlyIds : public SpecialFoldersPosix, public testing::WithParamInterface<int> {};

TEST_P(WindowsOnlyIds, YieldTheFallbackOrNothing) {
  EXPECT_EQ(GetSpecialFolder(GetParam()), u"");
  EXPECT_EQ(GetSpecialFolder(GetParam(), u"/opt/"), u"/opt/");
}

INSTANTIATE_TEST_SUITE_P(SpecialFolders, WindowsOnlyIds,
                         testing::Values(kFolderProgramFiles, kFolderWindows, kFolderSystem, kFolderProgramFiles64));

}  // namespace
}  // namespace tessaroven
