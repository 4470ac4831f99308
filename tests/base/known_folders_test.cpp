#include "base/known_folders.h"

#include <gtest/gtest.h>

#include <map>
#include <string>

#include "base/platform.h"

namespace tessaroven {
namespace {

using Folders = std::map<std::string, std::u16string>;

TEST(SpecialFolders, UserDirsFileIsReadAsTheDesktopWritesIt) {
  struct {
    const char* name;
    std::string content;
    std::u16string home;
    Folders expected;
  } const cases[] = {
      {"AsWrittenByTheDesktop",
       "# This file is written by xdg-user-dirs-update\n"
       "XDG_DESKTOP_DIR=\"$HOME/Desktop\"\nXDG_MUSIC_DIR=\"$HOME/Music\"\nXDG_VIDEOS_DIR=\"/srv/films\"\n",
       u"/home/ann",
       {{"DESKTOP", u"/home/ann/Desktop"}, {"MUSIC", u"/home/ann/Music"}, {"VIDEOS", u"/srv/films"}}},
      {"HomeItselfDisablesTheFolder",
       "XDG_TEMPLATES_DIR=\"$HOME/\"\nXDG_PUBLICSHARE_DIR=\"$HOME\"\nXDG_MUSIC_DIR=\"/home/ann\"\n",
       u"/home/ann",
       {{"TEMPLATES", u""}, {"PUBLICSHARE", u""}, {"MUSIC", u""}}},
      {"BracedHomeAndTrailingSlashes",
       "XDG_MUSIC_DIR=\"${HOME}/Audio/\"\nXDG_VIDEOS_DIR=\"/media/v//\"\n",
       u"/home/ann/",
       {{"MUSIC", u"/home/ann/Audio"}, {"VIDEOS", u"/media/v"}}},
      {"SpacesCrLfAndEscapes",
       "  XDG_MUSIC_DIR = \"$HOME/My \\\"Best\\\" \\\\ Songs\"\r\n\tXDG_VIDEOS_DIR=\"/v w\"  # films\r\n",
       u"/home/ann",
       {{"MUSIC", u"/home/ann/My \"Best\" \\ Songs"}, {"VIDEOS", u"/v w"}}},
      {"MalformedLinesAreSkipped",
       "XDG_MUSIC_DIR=$HOME/Music\n"         // not quoted
       "XDG_VIDEOS_DIR=\"$HOME/Videos\n"     // no closing quote
       "XDG_DESKTOP_DIR=\"Desktop\"\n"       // relative
       "XDG_DOCUMENTS_DIR=\"$HOMEDIR/x\"\n"  // another variable: relative
       "XDG_DOWNLOAD_DIR=\"\\$HOME/dl\"\n"   // escaped: no expansion, relative
       "XDG_DIR=\"/a\"\nXDG_MUSIC=\"/b\"\nFOO_DIR=\"/c\"\nno equals sign\n=\"/d\"\n"
       "XDG_TEMPLATES_DIR=\"\"\n",
       u"/home/ann",
       {}},
      {"LaterLineWins", "XDG_MUSIC_DIR=\"/first\"\nXDG_MUSIC_DIR=\"/second\"", u"/home/ann", {{"MUSIC", u"/second"}}},
      {"BytesThatAreNotUtf8Survive",
       "XDG_MUSIC_DIR=\"$HOME/M\xC3\xBCsik \xE9t\xE9\"\n",
       u"/home/ann",
       {{"MUSIC", u"/home/ann/M\u00FCsik \xDCE9t\xDCE9"}}},
      {"NoHomeKeepsOnlyAbsolutePaths",
       "XDG_MUSIC_DIR=\"$HOME/Music\"\nXDG_VIDEOS_DIR=\"/v\"\n",
       u"",
       {{"VIDEOS", u"/v"}}},
      {"RootAsHome",
       "XDG_MUSIC_DIR=\"$HOME/Music\"\nXDG_VIDEOS_DIR=\"$HOME\"\n",
       u"/",
       {{"MUSIC", u"/Music"}, {"VIDEOS", u""}}},
  };
  for (const auto& c : cases) EXPECT_EQ(ParseXdgUserDirs(c.content, c.home), c.expected) << c.name;
}

// Without a fallback Windows answers with a made-up folder, Linux with nothing; on
// Linux the Windows-only ids take this same path.
TEST(SpecialFolders, UnknownIdYieldsTheFallbackOrThePlatformDefault) {
  constexpr int kUnknown = 0x7777;
  EXPECT_EQ(GetSpecialFolder(kUnknown, u"fallback folder"), u"fallback folder");
  EXPECT_EQ(GetSpecialFolder(kUnknown, u""), u"");
  EXPECT_EQ(GetSpecialFolder(kUnknown), kIsWindows ? u"C:\\Error" : u"");
}

}  // namespace
}  // namespace tessaroven
