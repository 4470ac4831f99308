#include "converter/output_file.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <tuple>

#include "base/path.h"
#include "base/platform.h"
#include "base/text.h"
#include "support/native_path.h"
#include "support/test_env.h"

namespace kovantrix {
namespace {

using tessaroven::test::Native;
using tessaroven::test::ReadBytes;
using tessaroven::test::TempDir;
using tessaroven::test::WriteBytes;

// The target keeps the source's folder name and base name.
TEST(TargetPathTest, KeepsTheFolderNameAndTheBaseName) {
  for (const auto& [source, output, target] :
       {std::tuple{u"/music/Album/01 Song.wav", u"/out/", u"/out/Album/01 Song.flac"},
        std::tuple{u"/music/Album/01.wav", u"/out", u"/out/Album/01.flac"},
        std::tuple{u"/m/Vol. 2/a.b.c.wav", u"/out/", u"/out/Vol. 2/a.b.c.flac"},
        std::tuple{u"/m/A/track", u"/out/", u"/out/A/track.flac"}, std::tuple{u"/m/A/.wav", u"/out/", u"/out/A/.wav.flac"},
        std::tuple{u"/x.wav", u"/out/", u"/out/x.flac"}})
    EXPECT_EQ(TargetPathFor(Native(source), Native(output), u".flac"), Native(target)) << tessaroven::Utf16ToUtf8(source);
}

std::vector<std::u16string> Names(const std::u16string& folder) {
  auto names = tessaroven::test::ListFolder(folder);
  std::sort(names.begin(), names.end());
  return names;
}

// Hidden beside the target and published whole; an existing target is kept unless
// overwriting.
TEST(TemporaryOutputTest, IsHiddenBesideTheTargetAndPublishedWhole) {
  TempDir dir;
  const std::u16string target = dir / u"song.flac";
  ASSERT_TRUE(WriteBytes(target, "the user's"));
  std::u16string error;
  for (const bool overwrite : {false, true}) {
    TemporaryOutput output;
    ASSERT_TRUE(output.Create(target, error)) << tessaroven::Utf16ToUtf8(error);
    EXPECT_EQ(tessaroven::FolderOf(output.Path()), dir.Path());
    EXPECT_EQ(tessaroven::FileNameOf(output.Path()).front(), u'.');
    ASSERT_TRUE(WriteBytes(output.Path(), "converted"));
    EXPECT_EQ(output.Publish(overwrite, error), overwrite ? PublishResult::kPublished : PublishResult::kTargetExists);
  }
  EXPECT_EQ(ReadBytes(target), "converted");
  EXPECT_EQ(Names(dir.Path()), std::vector<std::u16string>{u"song.flac"});
}

TEST(TemporaryOutputTest, AnUnpublishedFileGoesAwayAndTwoNeverShareAName) {
  TempDir dir;
  std::u16string error;
  {
    TemporaryOutput first;
    TemporaryOutput second;
    ASSERT_TRUE(first.Create(dir / u"a.mp3", error));
    ASSERT_TRUE(second.Create(dir / u"a.mp3", error));
    EXPECT_NE(first.Path(), second.Path());
    EXPECT_EQ(Names(dir.Path()).size(), 2u);
  }
  EXPECT_TRUE(Names(dir.Path()).empty());
}

TEST(OutputFolderTest, MakesNestedFoldersAndSaysWhyNot) {
  TempDir dir;
  std::u16string error;
  EXPECT_TRUE(MakeFolders(dir / Native(u"a/b/c/"), error));
  EXPECT_TRUE(PathExists(dir / Native(u"a/b/c")));
  ASSERT_TRUE(WriteBytes(dir / u"file", "x"));
  EXPECT_FALSE(MakeFolders(dir / Native(u"file/sub/"), error));
  EXPECT_NE(error.find(u"cannot be made"), std::u16string::npos);
}

TEST(OutputFolderTest, SameExistingFileSeesThroughSpellings) {
  TempDir dir;
  ASSERT_TRUE(WriteBytes(dir / u"x.flac", "x"));
  ASSERT_TRUE(WriteBytes(dir / u"y.flac", "y"));
  EXPECT_TRUE(SameExistingFile(dir / u"x.flac", dir / Native(u"./x.flac")));
  EXPECT_FALSE(SameExistingFile(dir / u"x.flac", dir / u"y.flac"));
  EXPECT_FALSE(SameExistingFile(dir / u"x.flac", dir / u"missing.flac"));
}

}  // namespace
}  // namespace kovantrix
