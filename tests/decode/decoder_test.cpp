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
  EXPECT_FALSE(decoder.HasModule());
  const std::u16string path = FakePluginPath(u"alpha");
  ASSERT_TRUE(decoder.LoadFor(path, u".fka"));
  EXPECT_TRUE(decoder.Valid());
  EXPECT_EQ(decoder.Extension(), u".fka");
  EXPECT_EQ(decoder.LibraryPath(), path);
  const DecoderEntryPoints& e = decoder.Entry();
  for (const void* fn : {reinterpret_cast<const void*>(e.Create), reinterpret_cast<const void*>(e.Destroy),
                         reinterpret_cast<const void*>(e.Get), reinterpret_cast<const void*>(e.Set),
                         reinterpret_cast<const void*>(e.Open), reinterpret_cast<const void*>(e.Close),
                         reinterpret_cast<const void*>(e.DecodeBlock), reinterpret_cast<const void*>(e.SetPosition),
                         reinterpret_cast<const void*>(e.DeleteATag)}) {
    EXPECT_NE(fn, nullptr);
  }
  // A second load-and-resolve keeps the module and reports the same state.
  EXPECT_TRUE(decoder.LoadAndResolve(FakePluginPath(u"beta")));
  EXPECT_EQ(decoder.LibraryPath(), path);

  decoder.Unload();
  EXPECT_FALSE(decoder.Valid());
  EXPECT_FALSE(decoder.HasModule());
  EXPECT_EQ(decoder.Entry().Get, nullptr);
  EXPECT_TRUE(decoder.Extension().empty());
  EXPECT_TRUE(decoder.LibraryPath().empty());
}

TEST(ClQzDecoderTest, LibraryMissingOneExportIsNotValid) {
  clQzDecoder decoder;
  EXPECT_FALSE(decoder.LoadFor(FakePluginPath(u"eight"), u".fka"));
  EXPECT_FALSE(decoder.Valid());
  // The other eight were still looked up; only the missing one is null.
  EXPECT_NE(decoder.Entry().Create, nullptr);
  EXPECT_NE(decoder.Entry().SetPosition, nullptr);
  EXPECT_EQ(decoder.Entry().DeleteATag, nullptr);
  EXPECT_TRUE(decoder.Extension().empty());
}

struct TryCase {
  const char* name;
  std::u16string_view fake;
  std::u16string_view extension;
  bool decodes;
};

void CheckTry(const TryCase& c) {
  clQzDecoder decoder;
  TsvCreateBlock block{};
  const std::u16string path = FakePluginPath(c.fake);
  EXPECT_EQ(TryDecoderLibrary(path, c.extension, decoder, block), c.decodes);
  if (c.decodes) {
    EXPECT_NE(decoder.Instance(), nullptr);
    EXPECT_EQ(decoder.LibraryPath(), path);
    EXPECT_EQ(decoder.Extension(), c.extension);
  } else {
    EXPECT_EQ(decoder.Instance(), nullptr);
    EXPECT_FALSE(decoder.HasModule());
  }
}

TEST(TryDecoderLibraryTest, DecodesOnlyDeclaredExtensionsOfCompletePlugins) {
  for (const TryCase& c : {TryCase{"first_row", u"alpha", u".fka", true},
                                           TryCase{"later_row", u"alpha", u".fkw", true},
                                           TryCase{"case_folded", u"alpha", u".FkA", true},
                                           TryCase{"not_declared", u"alpha", u".fkb", false},
                                           TryCase{"empty_extension", u"alpha", u"", false},
                                           TryCase{"without_dot", u"alpha", u"fka", false},
                                           TryCase{"eight_of_nine", u"eight", u".fka", false},
                                           TryCase{"create_fails", u"null_create", u".fka", false},
                                           // The ".IGNORE" mark only hides rows from the offered lists.
                                           TryCase{"ignore_row_compared_as_text", u"ignore", u".fkj.IGNORE", true},
                                           TryCase{"missing_library", u"no_such_plugin", u".fka", false}}) {
    SCOPED_TRACE(c.name);
    CheckTry(c);
  }
}

TEST_F(DecoderTest, SameExtensionAgainUsesTheFastPathWithoutTouchingTheCache) {
  const std::u16string alpha = Install(u"alpha");
  clQzDecoder decoder;
  TsvCreateBlock block{};
  ASSERT_TRUE(OpenDecoderForFile(Native(u"/music/one.mp3.fka"), decoder, block));
  EXPECT_EQ(test::CachedLibrary(u".fka"), alpha);

  const std::uint64_t before = DecoderCacheAccessCount();
  ASSERT_TRUE(OpenDecoderForFile(Native(u"/music/two.FKA"), decoder, block));
  EXPECT_EQ(DecoderCacheAccessCount(), before);
  EXPECT_NE(decoder.Instance(), nullptr);
  EXPECT_EQ(decoder.LibraryPath(), alpha);

  decoder.DestroyInstance();
  ASSERT_TRUE(OpenDecoderForFile(Native(u"/music/three.fka"), decoder, block));
  EXPECT_EQ(DecoderCacheAccessCount(), before);
}

TEST_F(DecoderTest, FirstOpenOfAnExtensionReadsAndWritesTheCache) {
  Install(u"alpha");
  clQzDecoder decoder;
  TsvCreateBlock block{};
  const std::uint64_t before = DecoderCacheAccessCount();
  ASSERT_TRUE(OpenDecoderForFile(u"song.fka", decoder, block));
  EXPECT_EQ(DecoderCacheAccessCount(), before + 2);
}

TEST_F(DecoderTest, CacheNamingDeletedLibraryFallsBackToSearchAndIsRewritten) {
  const std::u16string alpha = Install(u"alpha");
  test::SetCachedLibrary(u".fka", Folder() + u"gone" + std::u16string(test::kLibrarySuffix));
  clQzDecoder decoder;
  TsvCreateBlock block{};
  ASSERT_TRUE(OpenDecoderForFile(u"song.fka", decoder, block));
  EXPECT_EQ(decoder.LibraryPath(), alpha);
  EXPECT_EQ(test::CachedLibrary(u".fka"), alpha);
}

TEST_F(DecoderTest, CachedPathFromAnotherFolderUsesOnlyItsFileName) {
  // Both declare .fka; the cache decides, not the enumeration order.
  const std::u16string alpha = Install(u"alpha");
  const std::u16string beta = Install(u"beta");
  for (const std::u16string& wanted : {beta, alpha}) {
    const std::u16string name(FileNameOf(wanted));
    test::SetCachedLibrary(u".fka", Native(u"/old/install/decoder/") + name);
    clQzDecoder decoder;
    TsvCreateBlock block{};
    ASSERT_TRUE(OpenDecoderForFile(u"song.fka", decoder, block));
    EXPECT_EQ(decoder.LibraryPath(), wanted);
    EXPECT_EQ(test::CachedLibrary(u".fka"), wanted);
  }
  // A Windows-style cached path works on every platform.
  test::SetCachedLibrary(u".fka", u"C:\\Program Files\\Old\\decoder\\" + std::u16string(FileNameOf(beta)));
  clQzDecoder decoder;
  TsvCreateBlock block{};
  ASSERT_TRUE(OpenDecoderForFile(u"song.fka", decoder, block));
  EXPECT_EQ(decoder.LibraryPath(), beta);
}

TEST_F(DecoderTest, WithoutCacheTheFirstDeclaringLibraryInEnumerationOrderWins) {
  Install(u"alpha");
  Install(u"beta");
  const std::vector<std::u16string> order = ListPluginLibraries(Folder());
  ASSERT_EQ(order.size(), 2u);
  clQzDecoder decoder;
  TsvCreateBlock block{};
  ASSERT_TRUE(OpenDecoderForFile(u"song.fka", decoder, block));
  EXPECT_EQ(decoder.LibraryPath(), order[0]);
}

TEST_F(DecoderTest, BrokenPluginsAreSkippedSilently) {
  // Each of these lists .fka but cannot serve it; only alpha can.
  Install(u"eight");
  Install(u"null_create");
  ASSERT_TRUE(test::WriteBytes(Folder() + u"junk" + std::u16string(test::kLibrarySuffix), "not a library"));
  clQzDecoder decoder;
  TsvCreateBlock block{};
  EXPECT_FALSE(OpenDecoderForFile(u"song.fka", decoder, block));
  EXPECT_FALSE(decoder.HasModule());
  EXPECT_EQ(test::CachedLibrary(u".fka"), u"");  // a failed search leaves the cache alone

  const std::u16string alpha = Install(u"alpha");
  ASSERT_TRUE(OpenDecoderForFile(u"song.fka", decoder, block));
  EXPECT_EQ(decoder.LibraryPath(), alpha);
}

TEST_F(DecoderTest, AnotherExtensionSwitchesLibrary) {
  const std::u16string alpha = Install(u"alpha");
  const std::u16string beta = Install(u"beta");
  test::SetCachedLibrary(u".fka", alpha);
  clQzDecoder decoder;
  TsvCreateBlock block{};
  ASSERT_TRUE(OpenDecoderForFile(u"a.fka", decoder, block));
  EXPECT_EQ(decoder.LibraryPath(), alpha);
  ASSERT_TRUE(OpenDecoderForFile(u"b.fkb", decoder, block));
  EXPECT_EQ(decoder.LibraryPath(), beta);
  EXPECT_EQ(decoder.Extension(), u".fkb");
  EXPECT_FALSE(OpenDecoderForFile(u"c.unknown", decoder, block));
  EXPECT_FALSE(decoder.HasModule());
  EXPECT_FALSE(OpenDecoderForFile(Native(u"/dir.fka/noextension"), decoder, block));
}

TEST_F(DecoderTest, ExtensionListLeavesOutIgnoreRowsAndKeepsEveryRow) {
  InstallAll({u"alpha", u"beta", u"ignore", u"many", u"eight"});
  STStringStorage list;
  list.Add(u".stale");
  ListDecodableExtensions(list);
  EXPECT_EQ(list.Find(u".stale"), STStringStorage::npos);
  // alpha 2, beta 2, ignore 1 (two rows hidden), many all 1200; eight contributes none.
  EXPECT_EQ(list.Count(), 2u + 2u + 1u + 1200u);
  EXPECT_NE(list.Find(u".fki"), STStringStorage::npos);
  EXPECT_EQ(list.Find(u".fki.IGNORE"), STStringStorage::npos);
  EXPECT_EQ(list.Find(u".fkj.IGNORE"), STStringStorage::npos);
  EXPECT_NE(list.Find(u".m1199"), STStringStorage::npos);
  EXPECT_NE(list.Find(u".FKB"), STStringStorage::npos);
}

TEST_F(DecoderTest, TypeListTakesAtMostThousandRowsPerLibraryAndKeepsDuplicates) {
  InstallAll({u"alpha", u"beta", u"ignore", u"many", u"null_create"});
  DecoderTypeList list;
  list.Add(DecoderTypeRecord{u".own", u"Kept", true});
  BuildDecoderTypeList(list);
  EXPECT_EQ(list.Count(), 1u + 2u + 2u + 1u + 1000u);
  EXPECT_NE(list.Find(std::u16string_view(u".m999")), DecoderTypeList::npos);
  EXPECT_EQ(list.Find(std::u16string_view(u".m1000")), DecoderTypeList::npos);
  EXPECT_EQ(list.Find(std::u16string_view(u".fki.IGNORE")), DecoderTypeList::npos);

  std::vector<std::u16string> fka;
  for (std::size_t i = 0; i < list.Count(); ++i) {
    if (list[i].extension == u".fka") {
      fka.push_back(list[i].description);
      EXPECT_FALSE(list[i].excluded);
    }
  }
  std::sort(fka.begin(), fka.end());
  EXPECT_EQ(fka, (std::vector<std::u16string>{u"Fake audio A", u"Fake audio A (beta)"}));
  EXPECT_EQ(list[0].extension, u".own");
  EXPECT_TRUE(list[0].excluded);
}

TEST_F(DecoderTest, EmptyFolderGivesEmptyLists) {
  STStringStorage extensions;
  ListDecodableExtensions(extensions);
  EXPECT_TRUE(extensions.Empty());
  DecoderTypeList types;
  BuildDecoderTypeList(types);
  EXPECT_TRUE(types.Empty());
}

TEST_F(DecoderTest, PropertyElementsAreSplitAtCarriageReturns) {
  Install(u"alpha");
  clQzDecoder decoder;
  EXPECT_TRUE(PropertyElementsOf(decoder).empty());
  TsvCreateBlock block{};
  ASSERT_TRUE(OpenDecoderForFile(u"a.fka", decoder, block));
  EXPECT_EQ(PropertyElementsOf(decoder), (std::vector<std::u16string>{u"Channels", u"Sample Rate", u"Bit Rate"}));
}

}  // namespace
}  // namespace tessaroven
