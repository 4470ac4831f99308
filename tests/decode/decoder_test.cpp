#include "decode/decoder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "base/path.h"
#include "decode/fake_plugins.h"
#include "decode/plugin_folder.h"
#include "support/native_path.h"
#include "support/test_env.h"

namespace tessaroven {
namespace {

using test::FakePluginPath;
using test::Native;

class DecoderTest : public test::PluginFolderFixture {};

TEST(ClQzDecoderTest, LoadForResolvesAllNineAndRemembersWhatFor) {
  clQzDecoder decoder;
  // Nothing loaded yet, and nothing to load.
  EXPECT_FALSE(decoder.LoadAndResolve(std::nullopt));
  const std::u16string path = FakePluginPath(u"alpha");
  ASSERT_TRUE(decoder.LoadFor(path, u".fka"));
  EXPECT_TRUE(decoder.Valid());
  EXPECT_EQ(decoder.Extension(), u".fka");
  // A second load-and-resolve keeps the module and reports the same state.
  EXPECT_TRUE(decoder.LoadAndResolve(FakePluginPath(u"beta")));
  EXPECT_EQ(decoder.LibraryPath(), path);

  decoder.Unload();
  EXPECT_FALSE(decoder.Valid());
  EXPECT_FALSE(decoder.HasModule());
  EXPECT_TRUE(decoder.Extension().empty());
  EXPECT_TRUE(decoder.LibraryPath().empty());

  // A library without one export is not valid; the other eight were still looked up.
  EXPECT_FALSE(decoder.LoadFor(FakePluginPath(u"eight"), u".fka"));
  EXPECT_NE(decoder.Entry().SetPosition, nullptr);
  EXPECT_EQ(decoder.Entry().DeleteATag, nullptr);

  // Files that are no library do not load, and leave nothing loaded.
  test::TempDir dir;
  const std::u16string text = dir / (u"text" + std::u16string(test::kLibrarySuffix));
  ASSERT_TRUE(test::WriteBytes(text, "plain text, not a library"));
  for (const std::u16string& file : {text, dir / u"missing.so", std::u16string()}) {
    EXPECT_FALSE(decoder.LoadFor(file, u".fka"));
    EXPECT_FALSE(decoder.HasModule());
  }
}

// One decoder for a run of files, as the selector keeps it: the same extension again
// takes the fast path, another one switches library.
TEST_F(DecoderTest, SameExtensionAgainUsesTheFastPathAndAnotherSwitchesLibrary) {
  const std::u16string alpha = Install(u"alpha");
  clQzDecoder decoder;
  EXPECT_TRUE(PropertyElementsOf(decoder).empty());
  TsvCreateBlock block{};
  // The first open of an extension reads the cache and writes it.
  std::uint64_t before = DecoderCacheAccessCount();
  ASSERT_TRUE(OpenDecoderForFile(Native(u"/music/one.mp3.fka"), decoder, block));
  EXPECT_EQ(DecoderCacheAccessCount(), before + 2);
  EXPECT_EQ(test::CachedLibrary(u".fka"), alpha);
  EXPECT_EQ(PropertyElementsOf(decoder), (std::vector<std::u16string>{u"Channels", u"Sample Rate", u"Bit Rate"}));

  before = DecoderCacheAccessCount();
  ASSERT_TRUE(OpenDecoderForFile(Native(u"/music/two.FKA"), decoder, block));
  EXPECT_NE(decoder.Instance(), nullptr);
  decoder.DestroyInstance();
  ASSERT_TRUE(OpenDecoderForFile(Native(u"/music/three.fka"), decoder, block));
  EXPECT_EQ(DecoderCacheAccessCount(), before);
  EXPECT_EQ(decoder.LibraryPath(), alpha);

  const std::u16string beta = Install(u"beta");
  ASSERT_TRUE(OpenDecoderForFile(u"b.fkb", decoder, block));
  EXPECT_EQ(decoder.LibraryPath(), beta);
  EXPECT_FALSE(OpenDecoderForFile(u"c.unknown", decoder, block));
  EXPECT_FALSE(decoder.HasModule());
  EXPECT_FALSE(OpenDecoderForFile(Native(u"/dir.fka/noextension"), decoder, block));
}

// Both declare .fka. Without a usable cache entry the first library in enumeration
// order serves it; a cached entry decides by its file name alone, so a Windows-style
// path from an old installation works on every platform. The entry is rewritten.
TEST_F(DecoderTest, TheCacheChoosesTheLibraryByFileNameElseEnumerationOrder) {
  const std::u16string alpha = Install(u"alpha");
  const std::u16string beta = Install(u"beta");
  const std::u16string first = ListPluginLibraries(Folder()).at(0);
  for (const auto& [cached, wanted] :
       {std::pair{std::u16string(), first}, std::pair{Folder() + u"gone" + std::u16string(test::kLibrarySuffix), first},
        std::pair{Native(u"/old/install/decoder/") + std::u16string(FileNameOf(beta)), beta},
        std::pair{u"C:\\Program Files\\Old\\decoder\\" + std::u16string(FileNameOf(alpha)), alpha}}) {
    SCOPED_TRACE(Utf16ToUtf8(cached));
    test::SetCachedLibrary(u".fka", cached);
    clQzDecoder decoder;
    TsvCreateBlock block{};
    ASSERT_TRUE(OpenDecoderForFile(u"song.fka", decoder, block));
    EXPECT_EQ(decoder.LibraryPath(), wanted);
    EXPECT_EQ(test::CachedLibrary(u".fka"), wanted);
  }
}

// The lists offered to the user: broken libraries add nothing, ".IGNORE" rows are hidden;
// the type list takes at most a thousand rows per library and keeps duplicates.
TEST_F(DecoderTest, OfferedListsSkipBrokenLibrariesAndHiddenRows) {
  STStringStorage extensions;
  extensions.Add(u".stale");
  ListDecodableExtensions(extensions);  // an empty folder offers nothing
  EXPECT_TRUE(extensions.Empty());
  InstallAll({u"alpha", u"beta", u"ignore", u"many", u"eight", u"null_create"});
  ListDecodableExtensions(extensions);
  // alpha 2, beta 2, ignore 1 (two rows hidden), many all 1200.
  EXPECT_EQ(extensions.Count(), 2u + 2u + 1u + 1200u);
  EXPECT_NE(extensions.Find(u".fki"), STStringStorage::npos);
  EXPECT_EQ(extensions.Find(u".fkj.IGNORE"), STStringStorage::npos);
  EXPECT_NE(extensions.Find(u".m1199"), STStringStorage::npos);

  DecoderTypeList list;
  list.Add(DecoderTypeRecord{u".own", u"Kept", true});
  BuildDecoderTypeList(list);
  EXPECT_EQ(list.Count(), 1u + 2u + 2u + 1u + 1000u);
  EXPECT_NE(list.Find(std::u16string_view(u".m999")), DecoderTypeList::npos);
  EXPECT_EQ(list.Find(std::u16string_view(u".m1000")), DecoderTypeList::npos);
  EXPECT_EQ(list.Find(std::u16string_view(u".fki.IGNORE")), DecoderTypeList::npos);
  std::vector<std::u16string> fka;
  for (std::size_t i = 0; i < list.Count(); ++i) {
    if (list[i].extension == u".fka") fka.push_back(list[i].description);
  }
  std::sort(fka.begin(), fka.end());
  EXPECT_EQ(fka, (std::vector<std::u16string>{u"Fake audio A", u"Fake audio A (beta)"}));
  EXPECT_TRUE(list[0].excluded);
}

}  // namespace
}  // namespace tessaroven
