#include "converter/output_file.h"

#include <gtest/gtest.h>

#include <algorithm>

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

struct TargetCase {
  const char* name;
  std::u16string source;
  std::u16string output;
  std::u16string target;
};

class TargetPathTest : public testing::TestWithParam<TargetCase> {};

TEST_P(TargetPathTest, KeepsTheFolderNameAndTheBaseName) {
  const TargetCase& c = GetParam();
  EXPECT_EQ(TargetPathFor(Native(c.source), Native(c.output), u".flac"), Native(c.target));
}

INSTANTIATE_TEST_SUITE_P(
    Table, TargetPathTest,
    testing::Values(TargetCase{"Plain", u"/music/Album/01 Song.wav", u"/out/", u"/out/Album/01 Song.flac"},
                    TargetCase{"OutputWithoutSeparator", u"/music/Album/01.wav", u"/out", u"/out/Album/01.flac"},
                    TargetCase{"DotsInFolderAndName", u"/m/Vol. 2/a.b.c.wav", u"/out/", u"/out/Vol. 2/a.b.c.flac"},
                    TargetCase{"NoExtension", u"/m/A/track", u"/out/", u"/out/A/track.flac"},
                    TargetCase{"AllExtension", u"/m/A/.wav", u"/out/", u"/out/A/.wav.flac"},
                    TargetCase{"SameExtension", u"/m/A/x.flac", u"/out/", u"/out/A/x.flac"},
                    TargetCase{"AtTheRoot", u"/x.wav", u"/out/", u"/out/x.flac"}),
    [](const auto& param) { return std::string(param.param.name); });

std::vector<std::u16string> Names(const std::u16string& folder) {
  auto names = tessaroven::test::ListFolder(folder);
  std::sort(names.begin(), names.end());
  return names;
}

TEST(TemporaryOutputTest, IsHiddenBesideTheTargetAndPublishedWhole) {
  TempDir dir;
  const std::u16string target = dir / u"song.flac";
  TemporaryOutput output;
  std::u16string error;
  ASSERT_TRUE(output.Create(target, error)) << tessaroven::Utf16ToUtf8(error);
  EXPECT_EQ(tessaroven::FolderOf(output.Path()), dir.Path());
  EXPECT_EQ(tessaroven::FileNameOf(output.Path()).front(), u'.');
  ASSERT_TRUE(WriteBytes(output.Path(), "converted"));
  EXPECT_EQ(output.Publish(false, error), PublishResult::kPublished);
  EXPECT_EQ(ReadBytes(target), "converted");
  EXPECT_EQ(Names(dir.Path()), std::vector<std::u16string>{u"song.flac"});
}

TEST(TemporaryOutputTest, AnExistingTargetIsKeptUnlessOverwriting) {
  TempDir dir;
  const std::u16string target = dir / u"song.flac";
  ASSERT_TRUE(WriteBytes(target, "the user's"));
  std::u16string error;
  {
    TemporaryOutput output;
    ASSERT_TRUE(output.Create(target, error));
    ASSERT_TRUE(WriteBytes(output.Path(), "new"));
    EXPECT_EQ(output.Publish(false, error), PublishResult::kTargetExists);
    EXPECT_FALSE(error.empty());
  }
  EXPECT_EQ(ReadBytes(target), "the user's");
  EXPECT_EQ(Names(dir.Path()), std::vector<std::u16string>{u"song.flac"});

  TemporaryOutput output;
  ASSERT_TRUE(output.Create(target, error));
  ASSERT_TRUE(WriteBytes(output.Path(), "new"));
  EXPECT_EQ(output.Publish(true, error), PublishResult::kPublished);
  EXPECT_EQ(ReadBytes(target), "new");
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
