#include "base/path.h"

#include <gtest/gtest.h>

#include "base/platform.h"
#include "support/native_path.h"

namespace tessaroven {
namespace {

using test::Native;

struct PartsCase {
  std::u16string path;
  std::u16string folder;
  std::u16string name;
  std::u16string extension;
};

class PathParts : public testing::TestWithParam<PartsCase> {};

TEST_P(PathParts, SplitsAtTheLastSeparatorAndTheLastDot) {
  const auto& c = GetParam();
  const std::u16string path = Native(c.path);
  EXPECT_EQ(FolderOf(path), Native(c.folder));
  EXPECT_EQ(FileNameOf(path), Native(c.name));
  EXPECT_EQ(ExtensionOf(path), c.extension);
}

INSTANTIATE_TEST_SUITE_P(
    Path, PathParts,
    testing::Values(PartsCase{u"/music/a.flac", u"/music/", u"a.flac", u".flac"},
                    PartsCase{u"/music/a.tar.GZ", u"/music/", u"a.tar.GZ", u".GZ"},
                    PartsCase{u"/mu.sic/track", u"/mu.sic/", u"track", u""},
                    PartsCase{u"/music/", u"/music/", u"", u""}, PartsCase{u"a.mp3", u"", u"a.mp3", u".mp3"},
                    PartsCase{u"/x/.flac", u"/x/", u".flac", u".flac"}, PartsCase{u"/x/a.", u"/x/", u"a.", u"."},
                    PartsCase{u"", u"", u"", u""}));

struct TrailingCase {
  std::u16string in;
  std::u16string out;
};

class TrailingSeparator : public testing::TestWithParam<TrailingCase> {};

TEST_P(TrailingSeparator, EndsInExactlyOne) {
  EXPECT_EQ(WithTrailingSeparator(Native(GetParam().in)), Native(GetParam().out));
}

INSTANTIATE_TEST_SUITE_P(Path, TrailingSeparator,
                         testing::Values(TrailingCase{u"/music", u"/music/"}, TrailingCase{u"/music/", u"/music/"},
                                         TrailingCase{u"/music///", u"/music/"}, TrailingCase{u"/", u"/"},
                                         TrailingCase{u"///", u"/"}, TrailingCase{u"", u""}));

TEST(Path, SamePathFoldsCaseOnlyWhereTheFileSystemDoes) {
  EXPECT_TRUE(SamePath(Native(u"/Music/A.flac"), Native(u"/Music/A.flac")));
  EXPECT_EQ(SamePath(Native(u"/Music/A.flac"), Native(u"/music/a.FLAC")), kPathsFoldCase);
  // Accented letters are never folded, not even on Windows.
  EXPECT_FALSE(SamePath(u"\u00C9t\u00E9", u"\u00E9t\u00E9"));
  // No normalisation: two spellings of one folder are two paths.
  EXPECT_FALSE(SamePath(Native(u"/a/./b/"), Native(u"/a/b/")));
}

struct PrefixCase {
  std::u16string path;
  std::u16string prefix;
  bool expected;
};

class PathPrefix : public testing::TestWithParam<PrefixCase> {};

TEST_P(PathPrefix, CoversTheFolderAndWhatLiesBelow) {
  const auto& c = GetParam();
  EXPECT_EQ(PathStartsWith(Native(c.path), Native(c.prefix)), c.expected);
}

INSTANTIATE_TEST_SUITE_P(Path, PathPrefix,
                         testing::Values(PrefixCase{u"/a/b/", u"/a/", true}, PrefixCase{u"/a/", u"/a/", true},
                                         PrefixCase{u"/ab/", u"/a/", false}, PrefixCase{u"/a", u"/a/", false},
                                         PrefixCase{u"/a/b", u"", false},
                                         PrefixCase{u"/A/b", u"/a/", kPathsFoldCase}));

TEST(Path, SamePathWithLengthComparesOnlyThePrefix) {
  EXPECT_TRUE(SamePath(u"abcdef", u"abcxyz", 3));
  EXPECT_FALSE(SamePath(u"abcdef", u"abcxyz", 4));
  // A string that ends inside the compared length only matches one ending there too.
  EXPECT_FALSE(SamePath(u"ab", u"abc", 3));
  EXPECT_TRUE(SamePath(u"ab", u"ab", 3));
}

struct LongPathCase {
  std::size_t length;
  std::u16string start;
  bool prefixed;
};

class LongPathRule : public testing::TestWithParam<LongPathCase> {};

TEST_P(LongPathRule, PrefixesOnlyLongLocalPaths) {
  const auto& c = GetParam();
  std::u16string path = c.start;
  path.resize(c.length, u'x');
  const std::u16string result = AddLongPathPrefix(path, 260);
  EXPECT_EQ(result, c.prefixed ? u"\\\\?\\" + path : path);
  EXPECT_EQ(MakeLongPath(path), kIsWindows ? result : path);
}

INSTANTIATE_TEST_SUITE_P(Path, LongPathRule,
                         testing::Values(LongPathCase{259, u"C:\\", false}, LongPathCase{260, u"C:\\", true},
                                         LongPathCase{40000, u"C:\\", true},
                                         // Network paths and already-prefixed paths are never prefixed.
                                         LongPathCase{300, u"\\\\server\\share\\", false},
                                         LongPathCase{300, u"\\\\?\\C:\\", false}, LongPathCase{0, u"", false}));

struct ValidNameCase {
  std::u16string in;
  bool keepSeparators;
  std::u16string out;
};

class ValidFileName : public testing::TestWithParam<ValidNameCase> {};

TEST_P(ValidFileName, ProducesANameEveryPlatformAccepts) {
  const auto& c = GetParam();
  EXPECT_EQ(MakeValidFileName(Native(c.in), c.keepSeparators), Native(c.out));
}

INSTANTIATE_TEST_SUITE_P(
    Path, ValidFileName,
    testing::Values(
        ValidNameCase{u"Aux", false, u"Aux_"}, ValidNameCase{u"a:b?", false, u"a;b\u00BF"},
        ValidNameCase{u"\"q\" <x> a*b|c", false, u"'q' \u00ABx\u00BB a-b-c"},
        // The separator is replaced unless asked to keep it; the other slash always is.
        ValidNameCase{u"rock/pop", false, u"rock-pop"}, ValidNameCase{u"rock\\pop", false, u"rock-pop"},
        ValidNameCase{u"rock/pop", true, u"rock/pop"}, ValidNameCase{u"rock\\pop", true, u"rock-pop"},
        // Reserved names only as a whole component, in any case; others are left alone.
        ValidNameCase{u"CON", false, u"CON_"}, ValidNameCase{u"nul/prn", true, u"nul_/prn_"},
        ValidNameCase{u"console", false, u"console"}, ValidNameCase{u"com1", false, u"com1"},
        // Dots and spaces that end a component before a separator go; at the very end they stay.
        ValidNameCase{u"a. . /b", true, u"a/b"}, ValidNameCase{u"a...", false, u"a..."},
        ValidNameCase{u"folder/", true, u"folder"}, ValidNameCase{u"", false, u""}));

TEST(Path, ValidFileNameCutsEveryComponentTo255Characters) {
  const std::u16string longName(300, u'n');
  const std::u16string result = MakeValidFileName(longName + Native(u"/") + longName, true);
  EXPECT_EQ(result, std::u16string(255, u'n') + Native(u"/") + std::u16string(255, u'n'));
  EXPECT_EQ(MakeValidFileName(longName).size(), 255u);
}

TEST(Path, ValidFileNameKeepsTheRootOfAPath) {
  if constexpr (kIsWindows) {
    EXPECT_EQ(MakeValidFileName(u"C:\\Users\\a:b\\", true), u"C:\\Users\\a;b");
    EXPECT_EQ(MakeValidFileName(u"\\\\srv\\share\\x?", true), u"\\\\srv\\share\\x\u00BF");
    EXPECT_EQ(MakeValidFileName(u"C:\\", true), u"C:\\");
  } else {
    EXPECT_EQ(MakeValidFileName(u"/home/u/a:b/", true), u"/home/u/a;b");
    EXPECT_EQ(MakeValidFileName(u"/", true), u"/");
    EXPECT_EQ(MakeValidFileName(u"/", false), u"-");
  }
}

TEST(Path, RootPathsAreRecognised) {
  if constexpr (kIsWindows) {
    EXPECT_TRUE(IsRootPath(u"C:\\"));
    EXPECT_TRUE(IsRootPath(u"\\\\server\\share\\"));
    EXPECT_FALSE(IsRootPath(u"C:\\Music\\"));
  } else {
    EXPECT_TRUE(IsRootPath(u"/"));
    EXPECT_FALSE(IsRootPath(u"/music/"));
  }
  EXPECT_FALSE(IsRootPath(u""));
}

}  // namespace
}  // namespace tessaroven
