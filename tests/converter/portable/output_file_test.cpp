#include "converter/output_file.h"

#include <gtest/gtest.h>

#include <tuple>

#include "base/path.h"
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
  EXPECT_EQ(tessaroven::test::ListFolder(dir.Path()), std::vector<std::u16string>{u"song.flac"});
}

}  // namespace
}  // namespace kovantrix
